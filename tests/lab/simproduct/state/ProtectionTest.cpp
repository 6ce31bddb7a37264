#include <gtest/gtest.h>

#include "lab/simproduct/state/Protection.h"

namespace Kyr::Lab::SimProduct {
namespace {

class ProtectionTest : public ::testing::Test {
  protected:
    CConfiguration configuration_;
    CProtection protection_{configuration_};
};

TEST_F(ProtectionTest, AllComponentsAreFineAtFirst) {
    EXPECT_EQ(
        "<?xml version=\"1.0\" encoding=\"utf-8\"?><TULK><SECTION><STATUS>"
        "<RECORD STATUS=\"0\" CATEGORY_RES_ID=\"0710000000000301\""
        " STATUS_RES_ID=\"0710000000000311\"/>"
        "<RECORD STATUS=\"0\" CATEGORY_RES_ID=\"0710000000000302\""
        " STATUS_RES_ID=\"0710000000000312\"/>"
        "</STATUS></SECTION></TULK>",
        protection_.Report());
}

TEST_F(ProtectionTest, NumbersAreReportedInHexadecimal) {
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

TEST_F(ProtectionTest, ComponentOfThatNameIsReplacedInItsPlace) {
    protection_.Set({"files", 1, 2, 3, std::nullopt});

    ASSERT_EQ(2u, protection_.Reported().size());
    EXPECT_EQ("files", protection_.Reported()[0].name);
    EXPECT_EQ(1u, protection_.Reported()[0].status);
}

TEST_F(ProtectionTest, ConfigurationTurnsAComponentOffAndOnAgain) {
    configuration_.Replace("network=off\n");
    EXPECT_EQ(0u, protection_.Reported()[0].status);
    EXPECT_EQ(2u, protection_.Reported()[1].status);

    configuration_.Replace("network=on\n");
    EXPECT_EQ(0u, protection_.Reported()[1].status);
}

TEST_F(ProtectionTest, AnyTextCanBeReportedInstead) {
    protection_.ReportInstead("<TULK>");
    EXPECT_EQ("<TULK>", protection_.Report());

    protection_.ReportInstead(std::nullopt);
    EXPECT_NE("<TULK>", protection_.Report());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
