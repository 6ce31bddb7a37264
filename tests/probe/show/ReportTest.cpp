#include <gtest/gtest.h>
#include <sstream>

#include "probe/show/Report.h"

namespace Kyr::Probe {
namespace {

Report Sample() {
    Report report;
    report.command = "sample";
    report.columns = {{"verdict"}, {"text", true}, {"number"}, {"next", false, true}};
    report.rows = {{"fine", "a\x1b[31m\"b", std::uint64_t{18446744073709551615u}, Value()},
                   {"wrong", "", Value(), "mend it"}};
    report.notes = {"two rows"};
    return report;
}

std::string Text(const Report& report, bool coloured = false) {
    std::ostringstream out;
    WriteText(out, report, coloured);
    return out.str();
}

TEST(ReportTest, ColumnsAreAsWideAsTheirValuesAndForeignTextIsHarmless) {
    EXPECT_EQ(Text(Sample()),
              "verdict  text              number\n"
              "fine     \"a\\x1b[31m\\x22b\"  18446744073709551615\n"
              "wrong    \"\"                - -> mend it\n"
              "two rows\n");
}

TEST(ReportTest, ColourIsAroundTheVerdictAndMovesNothing) {
    const std::string text = Text(Sample(), true);
    EXPECT_NE(text.find("\x1b[32mfine\x1b[0m     \"a"), std::string::npos);
    EXPECT_NE(text.find("\x1b[31mwrong\x1b[0m    \"\""), std::string::npos);
}

TEST(ReportTest, JsonHasOneForm) {
    Report report = Sample();
    report.exit = kSomethingFound;
    report.problem = Problem{"wrong-reply", "short"};
    EXPECT_EQ(ToJson(report),
              R"({"command":"sample","exit":1,"rows":[{"verdict":"fine","text":"a\u001b[31m\"b",)"
              R"("number":18446744073709551615,"next":null},{"verdict":"wrong","text":"",)"
              R"("number":null,"next":"mend it"}],"notes":["two rows"],)"
              R"("problem":{"cause":"wrong-reply","text":"short"}})");
}

TEST(ReportTest, TextThatIsNoUtf8MakesJsonAllTheSame) {
    Report report;
    report.columns = {{"text", true}};
    report.rows = {{"a\xff"}};
    EXPECT_EQ(ToJson(report),
              "{\"command\":\"\",\"exit\":0,\"rows\":[{\"text\":\"a\xEF\xBF\xBD\"}],\"notes\":[]}");
}

TEST(ReportTest, WithoutRowsThereAreNoNames) {
    Report report = Sample();
    report.rows.clear();
    EXPECT_EQ(Text(report), "two rows\n");
}

TEST(ReportTest, NumbersAndFlagsAreWords) {
    Report report;
    report.columns = {{"a"}, {"b"}, {"c"}};
    report.rows = {{std::int64_t{-1}, 0.25, true}};
    std::ostringstream out;
    WriteRows(out, report, false);
    EXPECT_EQ(out.str(), "-1  0.250  yes\n");
}

}  // namespace
}  // namespace Kyr::Probe
