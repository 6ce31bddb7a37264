// What pocoInitializeLibrary does to the path locale of boost.filesystem, which the library and
// this program share. The suite runs once more with each environment that has no usable locale.
#include <Poco/SharedLibrary.h>
#include <gtest/gtest.h>
#include <locale>
#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/locale/info.hpp>

#include "tests/module/LoadedLibrary.h"

namespace Kyr::Test {
namespace {

class PathLocaleTest : public ::testing::Test {
  protected:
    void InitializeLibrary() {
        using Function = void (*)();
        reinterpret_cast<Function>(library_.getSymbol("pocoInitializeLibrary"))();
    }

    /// The path locale that is installed; takes it out.
    static std::locale TakePathLocale() {
        return boost::filesystem::path::imbue(std::locale::classic());
    }

  private:
    Poco::SharedLibrary library_{LibraryPath()};
};

TEST_F(PathLocaleTest, InstalledLocaleHoldsNarrowStringsInUtf8) {
    InitializeLibrary();
    const std::locale installed = TakePathLocale();
    ASSERT_TRUE(std::has_facet<boost::locale::info>(installed));
    EXPECT_TRUE(std::use_facet<boost::locale::info>(installed).utf8());
}

TEST_F(PathLocaleTest, SecondCallInstallsTheSameLocaleAgain) {
    InitializeLibrary();
    const std::locale first = TakePathLocale();
    InitializeLibrary();
    EXPECT_TRUE(TakePathLocale() == first);
}

TEST_F(PathLocaleTest, PathsAreConvertedByTheInstalledLocale) {
    InitializeLibrary();
    const std::string text = boost::filesystem::path(L"\u00e4\u20ac").string();
    TakePathLocale();
    EXPECT_EQ(text, "\xC3\xA4\xE2\x82\xAC");
}

}  // namespace
}  // namespace Kyr::Test
