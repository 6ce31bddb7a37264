#include <boost/property_tree/xml_parser.hpp>

#include "kelcomm/messages/EncryptionRecoveryDataResponse.h"
#include "tests/kelcomm/messages/MessageTest.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using boost::property_tree::ptree_bad_path;
using boost::property_tree::xml_parser_error;
using namespace Test;

class EncryptionRecoveryDataResponseTest : public testing::Test {
  protected:
    const EncryptionRecoveryData& Read(const std::string& elements) {
        response_.Deserialize(
            TextReply("<TULK><MESSAGE><RESPONSE>" + elements + "</RESPONSE></MESSAGE></TULK>"));
        return response_.GetRecoveryData();
    }

    CGetEncryptionRecoveryDataResponse response_;
};

TEST_F(EncryptionRecoveryDataResponseTest, SlotFollowsTheContract) {
    EXPECT_EQ(VirtualSlot(&Common::CGetEncryptionRecoveryDataResponse::GetRecoveryData), 3);
}

TEST_F(EncryptionRecoveryDataResponseTest, PasswordsAreTheirAttributesAsText) {
    const auto& data = Read("<RECOVERY_PASSWORD UID='u1' DEVICEID='d1' INDEX='007'/>");
    ASSERT_EQ(data.passwords.size(), 1u);
    EXPECT_EQ(data.passwords[0].uid, "u1");
    EXPECT_EQ(data.passwords[0].deviceId, "d1");
    EXPECT_EQ(data.passwords[0].index, "007");
    EXPECT_TRUE(data.items.empty());
}

TEST_F(EncryptionRecoveryDataResponseTest, ItemsKeepTheElementsText) {
    const auto& data = Read("<RECOVERY_DATA UID='u2' DEVICEID='d2'> q1w2 </RECOVERY_DATA>");
    ASSERT_EQ(data.items.size(), 1u);
    EXPECT_EQ(data.items[0].uid, "u2");
    EXPECT_EQ(data.items[0].deviceId, "d2");
    EXPECT_EQ(data.items[0].data, " q1w2 ");
}

TEST_F(EncryptionRecoveryDataResponseTest, ItemWithoutTextIsEmpty) {
    EXPECT_EQ(Read("<RECOVERY_DATA UID='u' DEVICEID='d'/>").items.at(0).data, "");
}

TEST_F(EncryptionRecoveryDataResponseTest, ListsKeepTheDocumentsOrder) {
    const auto& data = Read(
        "<RECOVERY_DATA UID='2' DEVICEID=''/><RECOVERY_PASSWORD UID='4' DEVICEID='' INDEX=''/>"
        "<RECOVERY_DATA UID='1' DEVICEID=''/><RECOVERY_PASSWORD UID='3' DEVICEID='' INDEX=''/>");
    ASSERT_EQ(data.items.size(), 2u);
    EXPECT_EQ(data.items[0].uid, "2");
    EXPECT_EQ(data.items[1].uid, "1");
    ASSERT_EQ(data.passwords.size(), 2u);
    EXPECT_EQ(data.passwords[0].uid, "4");
    EXPECT_EQ(data.passwords[1].uid, "3");
}

TEST_F(EncryptionRecoveryDataResponseTest, FurtherReplyIsAppended) {
    Read("<RECOVERY_DATA UID='1' DEVICEID=''/>");
    const auto& data = Read("<RECOVERY_DATA UID='2' DEVICEID=''/>");
    ASSERT_EQ(data.items.size(), 2u);
    EXPECT_EQ(data.items[1].uid, "2");
}

TEST_F(EncryptionRecoveryDataResponseTest, OtherChildrenAreSkipped) {
    const auto& data = Read("text<recovery_data/><OTHER><RECOVERY_DATA/></OTHER><!--c-->");
    EXPECT_TRUE(data.items.empty());
    EXPECT_TRUE(data.passwords.empty());
}

TEST_F(EncryptionRecoveryDataResponseTest, AttributesAreMandatory) {
    for (const char* element :
         {"<RECOVERY_PASSWORD DEVICEID='d' INDEX='i'/>", "<RECOVERY_PASSWORD UID='u' INDEX='i'/>",
          "<RECOVERY_PASSWORD UID='u' DEVICEID='d'/>", "<RECOVERY_DATA DEVICEID='d'/>",
          "<RECOVERY_DATA UID='u'/>"}) {
        EXPECT_THROW(Read(element), ptree_bad_path) << element;
    }
}

TEST_F(EncryptionRecoveryDataResponseTest, MissingResponseThrowsBadPath) {
    EXPECT_THROW(response_.Deserialize(TextReply("<TULK><MESSAGE/></TULK>")), ptree_bad_path);
    EXPECT_THROW(response_.Deserialize(EmptyReply()), ptree_bad_path);
}

TEST_F(EncryptionRecoveryDataResponseTest, MalformedTextThrowsTheParsersError) {
    EXPECT_THROW(response_.Deserialize(TextReply("<TULK>")), xml_parser_error);
}

TEST_F(EncryptionRecoveryDataResponseTest, ShortRepliesAreRefused) {
    ExpectShortRepliesAreRefused<CGetEncryptionRecoveryDataResponse>();
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
