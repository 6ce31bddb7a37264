#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>

#include "lifepage/LifeJson.h"
#include "lifepage/LifePage.h"

namespace Kyr::LifePage {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

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
