#include "kelcomm/messages/ExportConfiguration.h"
#include "tests/kelcomm/messages/MessageTest.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using namespace Test;

TEST(ExportConfigurationTest, RequestIsTheHeaderAlone) {
    EXPECT_EQ(CExportConfigurationRequest().Serialize(),
              HexBytes("0C 00 00 00 00 06 00 01 6E 00 00 00"));
}

TEST(ExportConfigurationTest, NewResponseIsEmpty) {
    EXPECT_EQ(CExportConfigurationResponse().GetConfiguration(), "");
}

TEST(ExportConfigurationTest, PayloadIsTheConfiguration) {
    CExportConfigurationResponse response;
    response.Deserialize(HexBytes("0C 00 00 00  00 00 00 00  05 00 00 00  3C 61 2F 3E 00  FF"));
    EXPECT_EQ(response.GetConfiguration(), std::string("<a/>\0", 5));
}

TEST(ExportConfigurationTest, EmptyPayloadReplacesTheConfigurationToo) {
    CExportConfigurationResponse response;
    response.Deserialize(TextReply("before"));
    response.Deserialize(EmptyReply());
    EXPECT_EQ(response.GetConfiguration(), "");
}

TEST(ExportConfigurationTest, ShortRepliesAreRefused) {
    ExpectShortRepliesAreRefused<CExportConfigurationResponse>();
}

TEST(ExportConfigurationTest, RefusedReplyKeepsTheConfiguration) {
    CExportConfigurationResponse response;
    response.Deserialize(TextReply("before"));
    EXPECT_THROW(response.Deserialize(HexBytes("0C 00")), std::runtime_error);
    EXPECT_EQ(response.GetConfiguration(), "before");
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
