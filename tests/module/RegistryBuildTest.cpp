// The registration as values of the registry that no installer writes.
#include <Poco/Util/WinRegistryKey.h>
#include <gtest/gtest.h>

#include "module/ProductBuildReader.h"
#include "tests/support/product/InstalledProduct.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

class RegistryBuildTest : public testing::Test {
  protected:
    Kyr::Test::CInstalledProduct product_;
    Poco::Util::WinRegistryKey key_{
        "HKEY_LOCAL_MACHINE\\SOFTWARE\\TULK\\Ovanta\\Agent\\CurrentVersion\\Info"};
    const boost::shared_ptr<IProductBuildReader> reader_ = SystemProductBuildReader();
};

TEST_F(RegistryBuildTest, TextsAreRefused) {
    key_.setString("build", "");
    EXPECT_THROW(reader_->Read(), std::exception);
    key_.setStringExpand("build", "5543");
    EXPECT_THROW(reader_->Read(), std::exception);
}

TEST_F(RegistryBuildTest, NumberOf64BitsIsRefused) {
    key_.setInt64("build", 5543);
    EXPECT_THROW(reader_->Read(), std::exception);
}

TEST_F(RegistryBuildTest, BytesAreRefusedThoughTheyAreFour) {
    key_.setBinary("build", {'\xA7', '\x15', '\0', '\0'});
    EXPECT_THROW(reader_->Read(), std::exception);
}

TEST_F(RegistryBuildTest, BuildUnderAnotherNameCountsAsNone) {
    key_.setInt("builds", 5543);
    EXPECT_EQ(reader_->Read(), std::nullopt);
}

TEST_F(RegistryBuildTest, NameOfTheBuildHasNoCase) {
    key_.setInt("BUILD", 5543);
    EXPECT_EQ(reader_->Read(), 5543);
}

TEST_F(RegistryBuildTest, ValueOfAnotherTypeIsReplacedByTheNextInstallation) {
    key_.setInt64("build", 5543);
    product_.Install(5600);
    EXPECT_EQ(reader_->Read(), 5600);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
