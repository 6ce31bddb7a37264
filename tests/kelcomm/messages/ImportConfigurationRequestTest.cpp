#include "kelcomm/messages/ImportConfigurationRequest.h"
#include "tests/kelcomm/messages/MessageTest.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using Test::HexBytes;

TEST(ImportConfigurationRequestTest, TextFollowsTheHeader) {
    EXPECT_EQ(CImportConfigurationRequest("abc").Serialize(),
              HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00 61 62 63"));
}

TEST(ImportConfigurationRequestTest, EmptyTextIsTheHeaderAlone) {
    EXPECT_EQ(CImportConfigurationRequest("").Serialize(),
              HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00"));
}

TEST(ImportConfigurationRequestTest, TextIsPassedThroughAsBytes) {
    EXPECT_EQ(CImportConfigurationRequest(std::string("\0\xFF", 2)).Serialize(),
              HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00 00 FF"));
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
