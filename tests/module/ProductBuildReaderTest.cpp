// The reader of this system, and what an installer leaves for it.
#include <gtest/gtest.h>
#include <limits>

#include "module/ProductBuildReader.h"
#include "tests/support/product/InstalledProduct.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

class ProductBuildReaderTest : public testing::Test {
  protected:
    Kyr::Test::CInstalledProduct product_;
    const boost::shared_ptr<IProductBuildReader> reader_ = SystemProductBuildReader();
};

TEST_F(ProductBuildReaderTest, WithoutARegistrationThereIsNoBuild) {
    EXPECT_EQ(reader_->Read(), std::nullopt);
}

TEST_F(ProductBuildReaderTest, RegisteredBuildIsRead) {
    product_.Install(5543);
    EXPECT_EQ(reader_->Read(), 5543);
}

TEST_F(ProductBuildReaderTest, RegistrationWithoutABuildCountsAsNone) {
    product_.Install(5543);
    product_.RemoveBuild();
    EXPECT_EQ(reader_->Read(), std::nullopt);
}

TEST_F(ProductBuildReaderTest, BuildIsReadAfreshEachTime) {
    product_.Install(5543);
    reader_->Read();
    product_.Install(5600);
    EXPECT_EQ(reader_->Read(), 5600);
}

TEST_F(ProductBuildReaderTest, BuildIsWidenedWithItsSign) {
    product_.Install(-1);  // the bits FFFFFFFF
    EXPECT_EQ(reader_->Read(), -1);
}

TEST_F(ProductBuildReaderTest, LargestAndSmallestBuildsAreRead) {
    product_.Install(std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(reader_->Read(), 2147483647);
    product_.Install(std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(reader_->Read(), -2147483648LL);
}

TEST_F(ProductBuildReaderTest, ZeroIsABuildLikeAnyOther) {
    product_.Install(0);
    EXPECT_EQ(reader_->Read(), 0);
}

TEST_F(ProductBuildReaderTest, BuildOfAnotherTypeIsRefused) {
    product_.InstallWithText();
    EXPECT_THROW(reader_->Read(), std::exception);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
