#include <boost/property_tree/xml_parser.hpp>

#include "kelcomm/messages/GetStatus.h"
#include "tests/kelcomm/messages/MessageTest.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using boost::property_tree::ptree_bad_path;
using boost::property_tree::xml_parser_error;
using namespace Test;

class GetStatusTest : public testing::Test {
  protected:
    /// Hands the response a status whose STATUS element holds `records`.
    const std::vector<CProtectionStatusRecord>& Read(const std::string& records) {
        response_.Deserialize(
            TextReply("<TULK><SECTION><STATUS>" + records + "</STATUS></SECTION></TULK>"));
        return response_.GetRecords();
    }

    /// The only record of a status with this STATUS and both mandatory identifiers.
    CProtectionStatusRecord Record(const std::string& status) {
        return Read(R"(<RECORD STATUS=")" + status +
                    R"(" CATEGORY_RES_ID="71000000000022B" STATUS_RES_ID="0710000000000ABC"/>)")
            .at(0);
    }

    void ExpectMeaning(const std::string& text, std::uint32_t status, int severity,
                       std::uint64_t statusTextId) {
        const auto record = Record(text);
        EXPECT_EQ(record.status, status);
        EXPECT_EQ(record.severity, severity);
        EXPECT_EQ(record.statusTextId, statusTextId);
    }

    CGetStatusResponse response_;
};

TEST_F(GetStatusTest, RequestIsTheHeaderAlone) {
    EXPECT_EQ(CGetStatusRequest().Serialize(), HexBytes("0C 00 00 00 00 06 00 01 21 00 00 00"));
}

TEST_F(GetStatusTest, SlotsFollowTheContract) {
    EXPECT_EQ(VirtualSlot(&IChannelMessage::Serialize), 1);
    EXPECT_EQ(VirtualSlot(&IChannelMessage::Deserialize), 2);
    EXPECT_EQ(VirtualSlot(&Common::CGetStatusResponse::GetRecords), 3);
    EXPECT_EQ(VirtualSlot(&Common::CGetStatusResponse::GetRawContent), 4);
}

TEST_F(GetStatusTest, NewResponseHoldsNothing) {
    EXPECT_TRUE(response_.GetRecords().empty());
    EXPECT_EQ(response_.GetRawContent(), "");
}

TEST_F(GetStatusTest, Status0IsFine) {
    ExpectMeaning("0", 0, 1, 0x071000000000021E);
}

TEST_F(GetStatusTest, Status1HasSeverity3) {
    ExpectMeaning("1", 1, 3, 0x071000000000021F);
}

TEST_F(GetStatusTest, Status2HasSeverity5) {
    ExpectMeaning("2", 2, 5, 0x0710000000000220);
}

TEST_F(GetStatusTest, StatusOfAllOnesHasNothingElse) {
    for (const char* text : {"FFFFFFFF", "ffffffff"}) {
        const auto record = Record(text);
        EXPECT_EQ(record.status, 0xFFFFFFFFu);
        EXPECT_FALSE(record.severity);
        EXPECT_FALSE(record.statusTextId);
        EXPECT_FALSE(record.categoryId);
        EXPECT_FALSE(record.statusId);
        EXPECT_FALSE(record.descriptionId);
    }
}

TEST_F(GetStatusTest, StatusOfAllOnesNeedsNoIdentifiers) {
    EXPECT_EQ(Read("<RECORD STATUS='FFFFFFFF'/>").size(), 1u);
}

TEST_F(GetStatusTest, OtherStatusesAreRefused) {
    for (const char* status : {"3", "10", "FFFFFFFE"}) {
        EXPECT_EQ(ThrownText([&] { Record(status); }), "Unknown protection status") << status;
    }
}

TEST_F(GetStatusTest, RecordsBeforeARefusedOneStay) {
    EXPECT_THROW(Read("<RECORD STATUS='FFFFFFFF'/><RECORD STATUS='7'/><RECORD STATUS='FFFFFFFF'/>"),
                 std::runtime_error);
    EXPECT_EQ(response_.GetRecords().size(), 1u);
}

TEST_F(GetStatusTest, StatusIsCheckedBeforeTheIdentifiers) {
    EXPECT_EQ(ThrownText([&] { Read("<RECORD STATUS='3'/>"); }), "Unknown protection status");
}

TEST_F(GetStatusTest, IdentifiersAreHexadecimal) {
    const auto record = Record("1");
    EXPECT_EQ(record.categoryId, 0x071000000000022Bu);
    EXPECT_EQ(record.statusId, 0x0710000000000ABCu);
}

TEST_F(GetStatusTest, DescriptionIsOptional) {
    EXPECT_FALSE(Record("1").descriptionId);
}

TEST_F(GetStatusTest, DescriptionIsReadWhenPresent) {
    const auto& records =
        Read("<RECORD STATUS='1' CATEGORY_RES_ID='1' STATUS_RES_ID='2' DESCRIPTION_RES_ID='1F'/>");
    EXPECT_EQ(records.at(0).descriptionId, 31u);
}

TEST_F(GetStatusTest, AttributeThatIsNoNumberIsZero) {
    const auto& records = Read(
        "<RECORD STATUS='unknown' CATEGORY_RES_ID='' STATUS_RES_ID='z' DESCRIPTION_RES_ID='-'/>");
    EXPECT_EQ(records.at(0).status, 0u);
    EXPECT_EQ(records.at(0).severity, 1);
    EXPECT_EQ(records.at(0).categoryId, 0u);
    EXPECT_EQ(records.at(0).statusId, 0u);
    EXPECT_EQ(records.at(0).descriptionId, 0u);
}

TEST_F(GetStatusTest, MandatoryAttributesThrowBadPathWhenMissing) {
    EXPECT_THROW(Read("<RECORD CATEGORY_RES_ID='1' STATUS_RES_ID='2'/>"), ptree_bad_path);
    EXPECT_THROW(Read("<RECORD STATUS='0' STATUS_RES_ID='2'/>"), ptree_bad_path);
    EXPECT_THROW(Read("<RECORD STATUS='0' CATEGORY_RES_ID='1'/>"), ptree_bad_path);
}

TEST_F(GetStatusTest, RecordsKeepTheDocumentsOrder) {
    const auto& records = Read(
        "<RECORD STATUS='2' CATEGORY_RES_ID='1' STATUS_RES_ID='1'/>"
        "<RECORD STATUS='0' CATEGORY_RES_ID='2' STATUS_RES_ID='2'/>");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].categoryId, 1u);
    EXPECT_EQ(records[1].categoryId, 2u);
}

TEST_F(GetStatusTest, OtherChildrenAreSkipped) {
    const auto& records = Read(
        "text<!-- comment --><record STATUS='9'/><RECORDS STATUS='9'/>"
        "<GROUP><RECORD STATUS='9'/></GROUP><RECORD STATUS='FFFFFFFF'/>");
    EXPECT_EQ(records.size(), 1u);
}

TEST_F(GetStatusTest, StatusWithoutRecordsHasNone) {
    EXPECT_TRUE(Read("").empty());
}

TEST_F(GetStatusTest, SecondReplyAppends) {
    Record("1");
    Record("2");
    ASSERT_EQ(response_.GetRecords().size(), 2u);
    EXPECT_EQ(response_.GetRecords()[1].status, 2u);
}

TEST_F(GetStatusTest, RawContentIsTheTextAsItCame) {
    const std::string text = "<TULK> <SECTION><STATUS>\n</STATUS></SECTION><!--x--></TULK>\n";
    response_.Deserialize(TextReply(text));
    EXPECT_EQ(response_.GetRawContent(), text);
}

TEST_F(GetStatusTest, RawContentIsKeptWhenTheTextIsMalformed) {
    EXPECT_THROW(response_.Deserialize(TextReply("<TULK>")), xml_parser_error);
    EXPECT_EQ(response_.GetRawContent(), "<TULK>");
}

TEST_F(GetStatusTest, MissingSectionThrowsBadPath) {
    EXPECT_THROW(response_.Deserialize(TextReply("<TULK><SECTION/></TULK>")), ptree_bad_path);
}

TEST_F(GetStatusTest, EmptyPayloadOnANewResponseThrowsBadPath) {
    EXPECT_THROW(response_.Deserialize(EmptyReply()), ptree_bad_path);
}

TEST_F(GetStatusTest, EmptyPayloadKeepsTheHeldText) {
    Record("1");
    const std::string text = response_.GetRawContent();
    response_.Deserialize(EmptyReply());
    EXPECT_EQ(response_.GetRawContent(), text);
    EXPECT_EQ(response_.GetRecords().size(), 2u);  // the held text was read again
}

TEST_F(GetStatusTest, ShortRepliesAreRefused) {
    ExpectShortRepliesAreRefused<CGetStatusResponse>();
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
