#include <locale>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include "kelcomm/messages/EncryptionStorageStatusResponse.h"
#include "tests/kelcomm/messages/MessageTest.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using boost::property_tree::ptree_bad_path;
using boost::property_tree::xml_parser_error;
using namespace Test;

constexpr char kDisk[] =
    "<DISK DEVICE_ID='disk0' OPAL_SUPPORT='Yes' OPAL_USED='no' PARTITIONING_SCHEME='GPT'>";
constexpr char kPartition[] =
    "<PARTITION DEVICE_ID='part1' GUID='6f9619ff-8b86-4d01-b42d-00cf4fc964ff' DESCRIPTION='System'"
    " ENCRYPTION_STATUS='-2' ENCRYPTION_PROGESS='100' FILESYSTEM='NTFS' SYSTEM='True'"
    " SIZE='512110190592'/>";

/// kPartition with `from` replaced by `to`.
std::string PartitionWith(const std::string& from, const std::string& to) {
    std::string text = kPartition;
    return text.replace(text.find(from), from.size(), to);
}

class EncryptionStorageStatusResponseTest : public testing::Test {
  protected:
    const EncryptionStorageStatus& Read(const std::string& elements) {
        response_.Deserialize(
            TextReply("<TULK><MESSAGE><RESPONSE>" + elements + "</RESPONSE></MESSAGE></TULK>"));
        return response_.GetRecords();
    }

    const EncryptionPartition& ReadPartition(const std::string& partition) {
        const auto& disks = Read(kDisk + partition + "</DISK>").disks;
        return disks.at(disks.size() - 1).partitions.at(0);
    }

    bool ReadTpm(const std::string& text) {
        return Read("<SYSTEM TPM_USED='" + text + "' WORKSTATION_ID='w'/>").tpmUsed;
    }

    std::string SizeFailure(const std::string& size) {
        return ThrownText<boost::bad_lexical_cast>(
            [&] { ReadPartition(PartitionWith("512110190592", size)); });
    }

    CGetEncryptionStorageStatusResponse response_;
};

TEST_F(EncryptionStorageStatusResponseTest, SlotsFollowTheContract) {
    EXPECT_EQ(VirtualSlot(&Common::CGetEncryptionStorageStatusResponse::GetRecords), 3);
    EXPECT_EQ(VirtualSlot(&Common::CGetEncryptionStorageStatusResponse::GetRawContent), 4);
}

TEST_F(EncryptionStorageStatusResponseTest, System) {
    const auto& status = Read("<SYSTEM TPM_USED='1' WORKSTATION_ID='station'/>");
    EXPECT_TRUE(status.tpmUsed);
    EXPECT_EQ(status.workstationId, "station");
    EXPECT_TRUE(status.disks.empty());
}

TEST_F(EncryptionStorageStatusResponseTest, LaterSystemReplacesTheEarlierOne) {
    const auto& status = Read(
        "<SYSTEM TPM_USED='1' WORKSTATION_ID='first'/><SYSTEM TPM_USED='0' "
        "WORKSTATION_ID='second'/>");
    EXPECT_FALSE(status.tpmUsed);
    EXPECT_EQ(status.workstationId, "second");
}

TEST_F(EncryptionStorageStatusResponseTest, ReplyWithoutASystemTellsOfNoTpm) {
    const auto& status = Read("");
    EXPECT_FALSE(status.tpmUsed);
    EXPECT_EQ(status.workstationId, "");
    EXPECT_TRUE(status.disks.empty());
}

TEST_F(EncryptionStorageStatusResponseTest, Disk) {
    const auto& status = Read(std::string(kDisk) + "</DISK>");
    ASSERT_EQ(status.disks.size(), 1u);
    EXPECT_EQ(status.disks[0].deviceId, "disk0");
    EXPECT_TRUE(status.disks[0].opalSupported);
    EXPECT_FALSE(status.disks[0].opalUsed);
    EXPECT_EQ(status.disks[0].partitioningScheme, "GPT");
    EXPECT_TRUE(status.disks[0].partitions.empty());
}

TEST_F(EncryptionStorageStatusResponseTest, Partition) {
    const auto& partition = ReadPartition(kPartition);
    EXPECT_EQ(partition.deviceId, "part1");
    EXPECT_EQ(partition.guid.uuid(), "6f9619ff-8b86-4d01-b42d-00cf4fc964ff");
    EXPECT_EQ(partition.description, "System");
    EXPECT_EQ(partition.encryptionStatus, -2);
    EXPECT_EQ(partition.encryptionProgress, 100);
    EXPECT_EQ(partition.fileSystem, "NTFS");
    EXPECT_TRUE(partition.systemPartition);
    EXPECT_EQ(partition.size, 512110190592);
}

TEST_F(EncryptionStorageStatusResponseTest, PartitionsBelongToTheirDisk) {
    const auto& status =
        Read(kDisk + std::string(kPartition) + kPartition + "</DISK>" + kDisk + "</DISK>");
    ASSERT_EQ(status.disks.size(), 2u);
    EXPECT_EQ(status.disks[0].partitions.size(), 2u);
    EXPECT_TRUE(status.disks[1].partitions.empty());
}

TEST_F(EncryptionStorageStatusResponseTest, DisksAndPartitionsKeepTheDocumentsOrder) {
    const auto& status =
        Read(kDisk + PartitionWith("part1", "part2") + kPartition +
             "</DISK><SYSTEM TPM_USED='1' WORKSTATION_ID='w'/>"
             "<DISK DEVICE_ID='disk1' OPAL_SUPPORT='0' OPAL_USED='1' PARTITIONING_SCHEME='MBR'/>");
    ASSERT_EQ(status.disks.size(), 2u);
    ASSERT_EQ(status.disks[0].partitions.size(), 2u);
    EXPECT_EQ(status.disks[0].partitions[0].deviceId, "part2");
    EXPECT_EQ(status.disks[0].partitions[1].deviceId, "part1");
    EXPECT_EQ(status.disks[1].deviceId, "disk1");
    EXPECT_FALSE(status.disks[1].opalSupported);
    EXPECT_TRUE(status.disks[1].opalUsed);
    EXPECT_EQ(status.workstationId, "w");
}

TEST_F(EncryptionStorageStatusResponseTest, PartitionThatIsNoChildOfADiskIsSkipped) {
    const std::string outer = PartitionWith("/>", ">");
    const auto& status = Read(kPartition + (kDisk + outer) + kPartition + "</PARTITION></DISK>");
    ASSERT_EQ(status.disks.size(), 1u);
    EXPECT_EQ(status.disks[0].partitions.size(), 1u);
}

TEST_F(EncryptionStorageStatusResponseTest, OtherChildrenAreSkipped) {
    const auto& status = Read("text<disk/><X><DISK/></X>" + std::string(kDisk) +
                              "<partition/><!--c--><X><PARTITION/></X></DISK>");
    ASSERT_EQ(status.disks.size(), 1u);
    EXPECT_TRUE(status.disks[0].partitions.empty());
}

TEST_F(EncryptionStorageStatusResponseTest, TrueYesAnd1AreTrueInAnyCase) {
    for (const char* text : {"True", "true", "TRUE", "Yes", "yes", "YES", "1"}) {
        EXPECT_TRUE(ReadTpm(text)) << text;
    }
}

TEST_F(EncryptionStorageStatusResponseTest, AnyOtherTextIsFalse) {
    for (const char* text : {"", "on", "0", "False", "no", "True ", "11", "y"}) {
        EXPECT_FALSE(ReadTpm(text)) << text;
    }
}

/// While it lives, the process's locale takes j for a small Y.
class CLocaleWithASmallY {
  public:
    CLocaleWithASmallY()
        : previous_(std::locale::global({std::locale::classic(), new UpperCase})) {}
    ~CLocaleWithASmallY() { std::locale::global(previous_); }
    CLocaleWithASmallY(const CLocaleWithASmallY&) = delete;
    CLocaleWithASmallY& operator=(const CLocaleWithASmallY&) = delete;

  private:
    struct UpperCase : std::ctype<char> {
        char do_toupper(char c) const override {
            return c == 'j' ? 'Y' : std::ctype<char>::do_toupper(c);
        }
    };

    const std::locale previous_;
};

TEST_F(EncryptionStorageStatusResponseTest, UpperCaseOfAFlagIsThatOfTheProcessesLocale) {
    EXPECT_FALSE(ReadTpm("jes"));
    const CLocaleWithASmallY locale;
    EXPECT_TRUE(ReadTpm("jes"));
    EXPECT_TRUE(ReadTpm("true"));
}

TEST_F(EncryptionStorageStatusResponseTest, FlagsOfDisksAndPartitionsAreReadTheSameWay) {
    const auto& disk = Read(
                           "<DISK DEVICE_ID='' OPAL_SUPPORT='on' OPAL_USED='YES' "
                           "PARTITIONING_SCHEME=''/>")
                           .disks.at(0);
    EXPECT_FALSE(disk.opalSupported);
    EXPECT_TRUE(disk.opalUsed);
    EXPECT_TRUE(ReadPartition(PartitionWith("'True'", "'1'")).systemPartition);
    EXPECT_FALSE(ReadPartition(PartitionWith("'True'", "'on'")).systemPartition);
    EXPECT_FALSE(ReadPartition(PartitionWith("'True'", "''")).systemPartition);
}

TEST_F(EncryptionStorageStatusResponseTest, EmptyGuidIsAllZeros) {
    const auto& partition =
        ReadPartition(PartitionWith("6f9619ff-8b86-4d01-b42d-00cf4fc964ff", ""));
    EXPECT_EQ(partition.guid.uuid(), "00000000-0000-0000-0000-000000000000");
}

TEST_F(EncryptionStorageStatusResponseTest, GuidThatIsNoUuidIsKeptAsItStands) {
    for (const char* text : {"{6F9619FF-8B86-4D01-B42D-00CF4FC964FF}", "part 1", "0", " "}) {
        const auto& partition =
            ReadPartition(PartitionWith("6f9619ff-8b86-4d01-b42d-00cf4fc964ff", text));
        EXPECT_EQ(partition.guid.uuid(), text);
    }
}

TEST_F(EncryptionStorageStatusResponseTest, NumbersReachTheTypesLimits) {
    EXPECT_EQ(ReadPartition(PartitionWith("512110190592", "+9223372036854775807")).size,
              0x7FFFFFFFFFFFFFFF);
    EXPECT_EQ(ReadPartition(PartitionWith("512110190592", "-9223372036854775808")).size,
              -0x7FFFFFFFFFFFFFFF - 1);
}

TEST_F(EncryptionStorageStatusResponseTest, NumbersAreDecimalWhateverTheirZeros) {
    EXPECT_EQ(ReadPartition(PartitionWith("512110190592", "0010")).size, 10);
    EXPECT_EQ(ReadPartition(PartitionWith("512110190592", "-0")).size, 0);
    EXPECT_EQ(ReadPartition(PartitionWith("512110190592", "-007")).size, -7);
}

TEST_F(EncryptionStorageStatusResponseTest, TextThatIsNoNumberIsABadCast) {
    for (const char* text : {"", "12x", "0x10", " 1", "1 ", "+", "-", "--1", "+-1", "1-", "1.0",
                             "9223372036854775808", "-9223372036854775809"}) {
        EXPECT_EQ(SizeFailure(text),
                  "bad lexical cast: source type value could not be interpreted as target")
            << text;
    }
}

TEST_F(EncryptionStorageStatusResponseTest, EveryNumberOfAPartitionIsChecked) {
    for (const char* number : {"'-2'", "'100'", "'512110190592'"}) {
        EXPECT_THROW(ReadPartition(PartitionWith(number, "'many'")), boost::bad_lexical_cast)
            << number;
    }
}

TEST_F(EncryptionStorageStatusResponseTest, DisksBeforeABadNumberStay) {
    EXPECT_THROW(
        Read(kDisk + std::string("</DISK>") + kDisk + PartitionWith("'100'", "''") + "</DISK>"),
        boost::bad_lexical_cast);
    EXPECT_EQ(response_.GetRecords().disks.size(), 1u);
}

TEST_F(EncryptionStorageStatusResponseTest, DigitGroupsOfTheProcessesLocaleAreNoNumber) {
    const CGroupingLocale locale;
    EXPECT_NE(SizeFailure("1,234,567"), "nothing was thrown");
}

TEST_F(EncryptionStorageStatusResponseTest, ProgressIsReadUnderItsMisspeltNameOnly) {
    EXPECT_THROW(ReadPartition(PartitionWith("PROGESS", "PROGRESS")), ptree_bad_path);
}

TEST_F(EncryptionStorageStatusResponseTest, AttributesAreMandatory) {
    for (const char* name : {"DEVICE_ID", "GUID", "DESCRIPTION", "ENCRYPTION_STATUS", "FILESYSTEM",
                             "SYSTEM=", "SIZE"}) {
        EXPECT_THROW(ReadPartition(PartitionWith(name, "X" + std::string(name))), ptree_bad_path)
            << name;
    }
    for (const char* element : {"<SYSTEM TPM_USED='1'/>", "<SYSTEM WORKSTATION_ID='w'/>",
                                "<DISK OPAL_SUPPORT='1' OPAL_USED='1' PARTITIONING_SCHEME=''/>",
                                "<DISK DEVICE_ID='' OPAL_USED='1' PARTITIONING_SCHEME=''/>",
                                "<DISK DEVICE_ID='' OPAL_SUPPORT='1' PARTITIONING_SCHEME=''/>",
                                "<DISK DEVICE_ID='' OPAL_SUPPORT='1' OPAL_USED='1'/>"}) {
        EXPECT_THROW(Read(element), ptree_bad_path) << element;
    }
}

TEST_F(EncryptionStorageStatusResponseTest, RawContentIsTheTextAsItCame) {
    const std::string text = "<TULK><MESSAGE><RESPONSE> </RESPONSE></MESSAGE></TULK>\n";
    response_.Deserialize(TextReply(text));
    EXPECT_EQ(response_.GetRawContent(), text);
}

TEST_F(EncryptionStorageStatusResponseTest, RawContentIsKeptThoughItIsMalformed) {
    EXPECT_THROW(response_.Deserialize(TextReply("<TULK>")), xml_parser_error);
    EXPECT_EQ(response_.GetRawContent(), "<TULK>");
}

TEST_F(EncryptionStorageStatusResponseTest, ReplyWithoutAPayloadLeavesTheHeldText) {
    const std::string text = "<TULK><MESSAGE><RESPONSE/></MESSAGE></TULK>";
    response_.Deserialize(TextReply(text));
    response_.Deserialize(EmptyReply());
    EXPECT_EQ(response_.GetRawContent(), text);
}

TEST_F(EncryptionStorageStatusResponseTest, ReplyWithoutAPayloadReadsTheHeldTextAgain) {
    Read("<SYSTEM TPM_USED='1' WORKSTATION_ID='w'/>" + std::string(kDisk) + "</DISK>");
    response_.Deserialize(EmptyReply());
    const auto& status = response_.GetRecords();
    EXPECT_EQ(status.workstationId, "w");
    ASSERT_EQ(status.disks.size(), 2u);  // as behind any second reply
    EXPECT_EQ(status.disks[1].deviceId, "disk0");
}

TEST_F(EncryptionStorageStatusResponseTest, MissingResponseThrowsBadPath) {
    EXPECT_THROW(response_.Deserialize(TextReply("<TULK><MESSAGE/></TULK>")), ptree_bad_path);
    CGetEncryptionStorageStatusResponse fresh;
    EXPECT_THROW(fresh.Deserialize(EmptyReply()), ptree_bad_path);
}

TEST_F(EncryptionStorageStatusResponseTest, MalformedTextThrowsTheParsersError) {
    EXPECT_THROW(response_.Deserialize(TextReply("<TULK>")), xml_parser_error);
}

TEST_F(EncryptionStorageStatusResponseTest, ShortRepliesAreRefused) {
    ExpectShortRepliesAreRefused<CGetEncryptionStorageStatusResponse>();
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
