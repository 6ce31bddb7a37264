#include "kelcomm/messages/GetTaskStatus.h"
#include "tests/kelcomm/messages/MessageTest.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using namespace Test;

constexpr char kBadlyFormated[] = "Task log: Log record has badly formated uuids in user data";

/// ASCII `text` in UTF-16, little-endian.
std::vector<unsigned char> Utf16(const std::string& text) {
    std::vector<unsigned char> bytes;
    for (const char c : text) {
        bytes.push_back(static_cast<unsigned char>(c));
        bytes.push_back(0);
    }
    return bytes;
}

class GetTaskStatusTest : public testing::Test {
  protected:
    /// Hands the response a reply whose header announces one payload byte or more.
    void Read(const std::vector<unsigned char>& payload) {
        response_.Deserialize(HexBytes("0C 00 00 00  00 00 00 00  01 00 00 00") + payload);
    }

    /// A payload with status word 0 and the user data right behind the fixed part.
    void ReadUserData(const std::vector<unsigned char>& userData) {
        Read(HexBytes("EE EE EE EE  00 00 00 00  0C 00 00 00") + userData);
    }

    CTaskStatusRecord RecordWithStatus(const std::string& hexWord) {
        Read(HexBytes("00 00 00 00" + hexWord + "0C 00 00 00") + Utf16("a;b;c"));
        const auto& records = response_.GetRecords();
        return records.at(records.size() - 1);
    }

    void ExpectOutcome(const std::string& hexWord, int status, std::uint64_t code, int severity,
                       const std::string& description) {
        const auto record = RecordWithStatus(hexWord);
        EXPECT_EQ(record.status, status) << hexWord;
        EXPECT_EQ(record.code, code) << hexWord;
        EXPECT_EQ(record.severity, severity) << hexWord;
        EXPECT_EQ(record.description, description) << hexWord;
    }

    std::string UserDataFailure(const std::string& userData) {
        return ThrownText([&] { ReadUserData(Utf16(userData)); });
    }

    CGetTaskStatusResponse response_;
};

TEST_F(GetTaskStatusTest, RequestIsTheHeaderAlone) {
    EXPECT_EQ(CGetTaskStatusRequest().Serialize(), HexBytes("0C 00 00 00 00 06 00 01 70 00 00 00"));
}

TEST_F(GetTaskStatusTest, SlotsFollowTheContract) {
    EXPECT_EQ(VirtualSlot(&Common::CGetTaskStatusResponse::GetRecords), 3);
    EXPECT_EQ(VirtualSlot(&Common::CExportConfigurationResponse::GetConfiguration), 3);
}

TEST_F(GetTaskStatusTest, EmptyPayloadHasNoRecord) {
    response_.Deserialize(EmptyReply());
    EXPECT_TRUE(response_.GetRecords().empty());
}

TEST_F(GetTaskStatusTest, EmptyPayloadIsNotLookedBehind) {
    response_.Deserialize(EmptyReply() + HexBytes("00 00"));
    EXPECT_TRUE(response_.GetRecords().empty());
}

TEST_F(GetTaskStatusTest, ReplyShorterThanItsHeaderIsRefused) {
    EXPECT_EQ(
        ThrownText([&] { response_.Deserialize(HexBytes("0C 00 00 00 00 00 00 00 00 00 00")); }),
        kNotFullEnough);
}

TEST_F(GetTaskStatusTest, ElevenPayloadBytesAreRefused) {
    EXPECT_EQ(ThrownText([&] { Read(HexBytes("00 00 00 00  00 00 00 00  0C 00 00")); }),
              kNotFullEnough);
}

TEST_F(GetTaskStatusTest, AnnouncedLengthDoesNotBoundThePayload) {
    ReadUserData(Utf16("a;b;c"));  // announced: 1 byte
    EXPECT_EQ(response_.GetRecords().size(), 1u);
}

TEST_F(GetTaskStatusTest, SecondAndThirdPartChangePlaces) {
    ReadUserData(
        Utf16("6f9619ff-8b86-4d01-b42d-00cf4fc964ff;1b4e28ba-2fa1-41d2-883f-0016d3cca427;"
              "7d444840-9dc0-41d1-b245-5ffdce74fad2"));
    const auto record = response_.GetRecords().at(0);
    EXPECT_EQ(record.firstIdentifier.uuid(), "6f9619ff-8b86-4d01-b42d-00cf4fc964ff");
    EXPECT_EQ(record.secondIdentifier.uuid(), "7d444840-9dc0-41d1-b245-5ffdce74fad2");
    EXPECT_EQ(record.thirdIdentifier.uuid(), "1b4e28ba-2fa1-41d2-883f-0016d3cca427");
}

TEST_F(GetTaskStatusTest, StatusWord0IsASuccess) {
    ExpectOutcome("00 00 00 00", 1, 0x000000010000000A, 20, "");
}

TEST_F(GetTaskStatusTest, StatusWord1IsASuccessOfSeverity30) {
    ExpectOutcome("01 00 00 00", 1, 0x000000010000000B, 30, "");
}

TEST_F(GetTaskStatusTest, AnyOtherStatusWordIsAFailure) {
    for (const char* word : {"02 00 00 00", "07 00 00 00", "FF FF FF FF", "00 00 00 01"}) {
        ExpectOutcome(word, 4, 0x000000010000000C, 40, "Task failed");
    }
}

TEST_F(GetTaskStatusTest, AllThreeSeparatorsSplit) {
    ReadUserData(Utf16("a,b c"));
    const auto record = response_.GetRecords().at(0);
    EXPECT_EQ(record.firstIdentifier.uuid(), "a");
    EXPECT_EQ(record.secondIdentifier.uuid(), "c");
    EXPECT_EQ(record.thirdIdentifier.uuid(), "b");
}

TEST_F(GetTaskStatusTest, AdjacentSeparatorsAreNotMerged) {
    EXPECT_EQ(UserDataFailure("a; b; c"), kBadlyFormated);
    ReadUserData(Utf16(";;"));
    EXPECT_EQ(response_.GetRecords().at(0).firstIdentifier.uuid(), "");
}

TEST_F(GetTaskStatusTest, OtherNumbersOfPartsAreRefused) {
    EXPECT_EQ(UserDataFailure(""), kBadlyFormated);
    EXPECT_EQ(UserDataFailure("a;b"), kBadlyFormated);
    EXPECT_EQ(UserDataFailure("a;b;c;d"), kBadlyFormated);
    EXPECT_EQ(UserDataFailure("a;b;c;"), kBadlyFormated);
    EXPECT_TRUE(response_.GetRecords().empty());
}

TEST_F(GetTaskStatusTest, PartsNeedNotBeUuids) {
    ReadUserData(Utf16("what?;{};2"));
    EXPECT_EQ(response_.GetRecords().at(0).firstIdentifier.uuid(), "what?");
    EXPECT_EQ(response_.GetRecords().at(0).thirdIdentifier.uuid(), "{}");
}

TEST_F(GetTaskStatusTest, UserDataEndAtAZeroUnit) {
    ReadUserData(Utf16(std::string("a;b;c\0;d", 8)));
    EXPECT_EQ(response_.GetRecords().at(0).secondIdentifier.uuid(), "c");
}

TEST_F(GetTaskStatusTest, UserDataBecomeUtf8) {
    // U+00E9; U+20AC; U+1F600 as a surrogate pair
    ReadUserData(HexBytes("E9 00 3B 00 AC 20 3B 00 3D D8 00 DE"));
    const auto record = response_.GetRecords().at(0);
    EXPECT_EQ(record.firstIdentifier.uuid(), "\xC3\xA9");
    EXPECT_EQ(record.thirdIdentifier.uuid(), "\xE2\x82\xAC");
    EXPECT_EQ(record.secondIdentifier.uuid(), "\xF0\x9F\x98\x80");
}

TEST_F(GetTaskStatusTest, UnitsAreWholeWords) {
    ReadUserData(HexBytes("61 00 3B 00 00 01 3B 00 63 00"));  // U+0100 is no end
    EXPECT_EQ(response_.GetRecords().at(0).thirdIdentifier.uuid(), "\xC4\x80");
}

TEST_F(GetTaskStatusTest, OddLastByteIsNoUnit) {
    ReadUserData(Utf16("a;b;c") + HexBytes("64"));
    EXPECT_EQ(response_.GetRecords().at(0).secondIdentifier.uuid(), "c");
}

TEST_F(GetTaskStatusTest, LoneSurrogateIsSkipped) {
    ReadUserData(HexBytes("61 00 3B 00 00 DC 62 00 3B 00 63 00"));
    EXPECT_EQ(response_.GetRecords().at(0).thirdIdentifier.uuid(), "b");
}

TEST_F(GetTaskStatusTest, LoneHighSurrogateTakesTheNextUnitWithIt) {
    ReadUserData(HexBytes("61 00 3B 00 00 D8 62 00 3B 00 63 00"));
    EXPECT_EQ(response_.GetRecords().at(0).thirdIdentifier.uuid(), "");
}

TEST_F(GetTaskStatusTest, HighSurrogateAtTheEndIsSkipped) {
    ReadUserData(HexBytes("61 00 3B 00 62 00 3B 00 63 00 00 D8"));
    EXPECT_EQ(response_.GetRecords().at(0).secondIdentifier.uuid(), "c");
}

TEST_F(GetTaskStatusTest, OffsetCountsFromThePayloadsStart) {
    Read(HexBytes("00 00 00 00  00 00 00 00  10 00 00 00  AA AA AA AA") + Utf16("a;b;c"));
    EXPECT_EQ(response_.GetRecords().at(0).firstIdentifier.uuid(), "a");
}

TEST_F(GetTaskStatusTest, OffsetMayPointIntoTheFixedPart) {
    // Units from offset 8: 8, 0
    EXPECT_EQ(ThrownText([&] { Read(HexBytes("00 00 00 00  00 00 00 00  08 00 00 00")); }),
              kBadlyFormated);
}

TEST_F(GetTaskStatusTest, OffsetBehindTheReplyMeansNoUserData) {
    for (const char* offset : {"18 00 00 00", "FF FF FF FF", "F4 FF FF FF"}) {
        EXPECT_EQ(
            ThrownText([&] {
                Read(HexBytes("00 00 00 00  00 00 00 00" + std::string(offset)) + Utf16("a;b;c"));
            }),
            kBadlyFormated);
    }
}

TEST_F(GetTaskStatusTest, RecordsAreReturnedAsACopy) {
    ReadUserData(Utf16("a;b;c"));
    auto records = response_.GetRecords();
    records.clear();
    EXPECT_EQ(response_.GetRecords().size(), 1u);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
