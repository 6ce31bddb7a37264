#include <gtest/gtest.h>

#include "lab/simproduct/state/Protection.h"

namespace Kyr::Lab::SimProduct {
namespace {

class ProtectionTest : public ::testing::Test {
  protected:
    CConfiguration configuration_;
    CProtection protection_{configuration_};
};

TEST_F(ProtectionTest, ComponentOfThatNameIsReplacedAndItsNumbersReportedInHexadecimal) {
    protection_.Set({"files", 0xFFFFFFFF, 0x1A, 0x0710000000000310, 0x07100000000002AB});

    EXPECT_EQ(
        "<?xml version=\"1.0\" encoding=\"utf-8\"?><TULK><SECTION><STATUS>"
        "<RECORD STATUS=\"FFFFFFFF\" CATEGORY_RES_ID=\"000000000000001A\""
        " STATUS_RES_ID=\"0710000000000310\" DESCRIPTION_RES_ID=\"07100000000002AB\"/>"
        "<RECORD STATUS=\"0\" CATEGORY_RES_ID=\"0710000000000302\""
        " STATUS_RES_ID=\"0710000000000312\"/>"
        "</STATUS></SECTION></TULK>",
        protection_.Report());
}

TEST_F(ProtectionTest, ConfigurationTurnsAComponentOffAndOnAgain) {
    configuration_.Replace("network=off\n");
    EXPECT_EQ(0u, protection_.Reported()[0].status);
    EXPECT_EQ(2u, protection_.Reported()[1].status);

    configuration_.Replace("network=on\n");
    EXPECT_EQ(0u, protection_.Reported()[1].status);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
