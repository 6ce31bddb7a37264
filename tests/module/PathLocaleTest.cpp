// What pocoInitializeLibrary does to the path locale of boost.filesystem, which the library and
// this program share. The suite runs once more with each environment that has no usable locale.
#include <Poco/Environment.h>
#include <Poco/SharedLibrary.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <locale>
#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/locale/collator.hpp>
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

TEST_F(PathLocaleTest, NarrowTextsOfPathsAreReadAsUtf8) {
    InitializeLibrary();
    const std::wstring text = boost::filesystem::path("\xC3\xA4\xE2\x82\xAC").wstring();
    TakePathLocale();
    EXPECT_EQ(text, L"\u00e4\u20ac");
}

// What else a generated locale may hold brings ICU's data into every host.
TEST_F(PathLocaleTest, InstalledLocaleHoldsNoFacetThatPathsDoNotUse) {
    InitializeLibrary();
    EXPECT_FALSE(std::has_facet<boost::locale::collator<char>>(TakePathLocale()));
}

class PathLocaleDeathTest : public PathLocaleTest {
  protected:
    PathLocaleDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
    ~PathLocaleDeathTest() override { testing::FLAGS_gtest_death_test_style = styleBefore_; }

  private:
    const std::string styleBefore_ = testing::FLAGS_gtest_death_test_style;
};

// In a process of its own: the path locale that a process begins with is made once.
TEST_F(PathLocaleDeathTest, EnvironmentThatNamesNoLocaleKeepsNobodyFromInitializing) {
    const std::string before = Poco::Environment::get("LC_ALL", "");
    Poco::Environment::set("LC_ALL", "no_SUCH.UTF-8");
    EXPECT_EXIT(
        {
            InitializeLibrary();
            std::exit(std::use_facet<boost::locale::info>(TakePathLocale()).utf8() ? 7 : 1);
        },
        testing::ExitedWithCode(7), "");
    Poco::Environment::set("LC_ALL", before);
}

}  // namespace
}  // namespace Kyr::Test
