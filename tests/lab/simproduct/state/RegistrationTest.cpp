// The registration of this computer, seen with the eyes of one who looks for the product.
#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/simproduct/state/Registration.h"
#include "module/ProductBuildReader.h"
#include "tests/support/product/InstalledProduct.h"

namespace Kyr::Lab::SimProduct {
namespace {

class RegistrationTest : public ::testing::Test {
  protected:
    static std::optional<std::int64_t> Found() {
        return Connectors::OvAgentConnector::SystemProductBuildReader()->Read();
    }

    const Kyr::Test::CInstalledProduct place_;
    const std::unique_ptr<IRegistration> registration_ = SystemRegistration();
};

TEST_F(RegistrationTest, NothingIsRegisteredAtFirst) {
    EXPECT_EQ(Found(), std::nullopt);
}

TEST_F(RegistrationTest, InstalledBuildIsFound) {
    registration_->Install(5600);
    EXPECT_EQ(Found(), 5600);
}

TEST_F(RegistrationTest, UpgradeReplacesTheBuild) {
    registration_->Install(5057);
    registration_->Install(-1);
    EXPECT_EQ(Found(), -1);
}

TEST_F(RegistrationTest, UninstalledProductIsNotFound) {
    registration_->Install(5600);
    registration_->Uninstall();
    EXPECT_EQ(Found(), std::nullopt);
}

TEST_F(RegistrationTest, UninstallingWhatIsNotInstalledDoesNoHarm) {
    EXPECT_NO_THROW(registration_->Uninstall());
}

TEST(ParseBuildTest, WhatIsNoWholeNumberOf32BitsIsRefused) {
    EXPECT_EQ(ParseBuild("-2147483648"), -2147483648LL);
    for (const char* text : {"", " 1", "1 ", "0x10", "2147483648"}) {
        EXPECT_THROW(ParseBuild(text), std::invalid_argument) << text;
    }
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
