#include <chrono>
#include <gmock/gmock.h>
#include <sstream>
#include <string>

#include "lab/runner/Screen.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr bool kOnATerminal = true;
constexpr bool kInAFile = false;

TimedLine At(const std::string& time, const CLine& line) {
    return {time, line};
}

class ScreenTest : public ::testing::Test {
  protected:
    std::ostringstream out_;
    CScreen screen_{out_, kInAFile, CScreen::Detail::kEverything};
    CScreen quiet_{out_, kInAFile, CScreen::Detail::kResults};
    CScreen terminal_{out_, kOnATerminal, CScreen::Detail::kEverything};
};

TEST_F(ScreenTest, DetailsAreForTheTranscript) {
    screen_.Event("host", At("12:00:01.002", CLine("answer").With("command", "set")));
    EXPECT_EQ(out_.str(), "");
}

TEST_F(ScreenTest, PingIsShownOncePerStep) {
    const TimedLine ping =
        At("12:00:01.002", CLine("request").With("transport", "alpc").With("command", "0"));
    screen_.Step(1, "One");
    screen_.Event("product", ping);
    const std::string once = out_.str();
    screen_.Event("product", ping);
    EXPECT_EQ(out_.str(), once);
    screen_.Step(2, "Two");
    screen_.Event("product", ping);
    EXPECT_NE(out_.str().find("ping", once.size()), std::string::npos);
}

TEST_F(ScreenTest, QuietOneShowsOnlyWhatFails) {
    quiet_.Title("T");
    quiet_.Step(1, "One");
    quiet_.Say("a remark");
    quiet_.Command("host", "quit");
    quiet_.Event("host", At("12:00:01.002", CLine("log").With("level", "4").With("text", "t")));
    quiet_.Passed("this");
    quiet_.StepPassed(2, std::chrono::seconds(1));
    quiet_.Countdown(std::chrono::seconds(1), "wait");
    EXPECT_EQ(out_.str(), "");
    quiet_.Failed("line 4: that");
    EXPECT_EQ(out_.str(), "                NOT as expected: line 4: that\n");
}

TEST_F(ScreenTest, CountdownIsWrittenOverByTheNextLine) {
    terminal_.Countdown(std::chrono::milliseconds(9900), "until it reconnects");
    terminal_.Say("there");
    EXPECT_EQ(out_.str(),
              "\x1b[33m     9.9 s        until it reconnects\x1b[0m"
              "\r\x1b[K"
              "                there\n");
}

TEST_F(ScreenTest, FileGetsNoCountdownAndNoColours) {
    screen_.Countdown(std::chrono::seconds(9), "until it reconnects");
    screen_.Title("T");
    screen_.Failed("that");
    EXPECT_THAT(out_.str(), Not(HasSubstr("until")));
    EXPECT_THAT(out_.str(), Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace Kyr::Lab::Runner
