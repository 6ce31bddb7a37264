#include <fstream>
#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

#include "lifepage/LifeJson.h"
#include "lifepage/LifePage.h"

namespace Kyr::LifePage {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// The names of what others have written: what bundlers keep begins so, "/*! <name> v<version>".
std::set<std::string> PiecesOfOthers(const std::string& page) {
    static const std::regex kNotice("/\\*!\\s*\\*?\\s*(\\S+) v[0-9]");
    std::set<std::string> names;
    for (std::sregex_iterator at(page.begin(), page.end(), kNotice); at != std::sregex_iterator();
         ++at) {
        names.insert((*at)[1]);
    }
    return names;
}

TEST(LifePageTest, DataStandsInAnElementOfItsOwn) {
    Life life;
    life.title = "</script><script>alert(1)</script>";
    EXPECT_THAT(Page({life}), HasSubstr("<script type=\"application/json\" id=\"lives\">" +
                                        ToJson({life}) + "</script>"));
    EXPECT_THAT(Page({life}), Not(HasSubstr("alert(1)</script>")));
}

TEST(LifePageTest, PageAllowsNothingButItsOwnScriptAndStyle) {
    EXPECT_THAT(Page({}), StartsWith("<!doctype html>"));
    EXPECT_THAT(Page({}), HasSubstr("content=\"default-src 'none'; script-src 'sha256-"));
    EXPECT_THAT(Page({}), HasSubstr("'; base-uri 'none'; form-action 'none'\""));
    EXPECT_THAT(Page({}), Not(HasSubstr("unsafe")));
}

TEST(LifePageTest, PiecesOfOthersAreNamedAtTheTop) {
    const std::string page = Page({});
    EXPECT_THAT(PiecesOfOthers(page), ElementsAre("@kurkle/color", "Chart.js"));
    const std::string top = page.substr(0, page.find("-->"));
    EXPECT_THAT(top, HasSubstr("Chart.js, (c) Chart.js Contributors, MIT licence"));
    EXPECT_THAT(top, HasSubstr("@kurkle/color, (c) Jukka Kurkela, MIT licence"));
    EXPECT_THAT(top, HasSubstr("d3-zoom, d3-selection"));
    EXPECT_THAT(top, HasSubstr("d3-ease (c) Robert Penner, BSD 3-clause licence"));
}

TEST(LifePageTest, FileHasThePage) {
    const std::string path = ::testing::TempDir() + "/LifePageTest.html";
    WritePage(path, {});
    std::ostringstream read;
    read << std::ifstream(path, std::ios::binary).rdbuf();
    EXPECT_EQ(read.str(), Page({}));
}

TEST(LifePageTest, FileThatCannotBeWrittenIsAnError) {
    EXPECT_THROW(WritePage(::testing::TempDir() + "/no/such/folder.html", {}), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::LifePage
