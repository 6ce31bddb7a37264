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

TEST_F(ScreenTest, EventIsItsTimeWhoTellsItAndWhat) {
    screen_.Event("product", At("12:00:01.002",
                                CLine("did").With("action", "task-result").With("outcome", "1")));
    EXPECT_EQ(out_.str(), "  12:00:01.002  product  tells the outcome of a task: 1\n");
}

TEST_F(ScreenTest, CommandStandsInTheSameColumns) {
    screen_.Command("host", "trigger kind=0");
    EXPECT_EQ(out_.str(), "                host     <- trigger kind=0\n");
}

TEST_F(ScreenTest, DetailsAreForTheTranscript) {
    screen_.Event("host", At("12:00:01.002", CLine("answer").With("command", "set")));
    EXPECT_EQ(out_.str(), "");
}

TEST_F(ScreenTest, LongTextIsShortened) {
    screen_.Passed(std::string(104, 'a'));
    screen_.Passed(std::string(105, 'b'));
    EXPECT_EQ(out_.str(), "                ok       " + std::string(104, 'a') +
                              "\n                ok       " + std::string(101, 'b') + "...\n");
}

TEST_F(ScreenTest, PingIsShownOncePerStep) {
    const TimedLine ping =
        At("12:00:01.002", CLine("request").With("transport", "alpc").With("command", "0"));
    const std::string shown = "  12:00:01.002  wire ->  ping over ALPC\n";
    screen_.Step(1, "One");
    screen_.Event("product", ping);
    screen_.Event("product", ping);
    screen_.Step(2, "Two");
    screen_.Event("product", ping);
    EXPECT_EQ(out_.str(), "\n1. One\n" + shown + "\n2. Two\n" + shown);
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

TEST_F(ScreenTest, StepThatPassedTellsWhatHeldAndHowLongItTook) {
    screen_.StepPassed(0, std::chrono::milliseconds(49));
    screen_.StepPassed(1, std::chrono::milliseconds(1500));
    screen_.StepPassed(2, std::chrono::seconds(10));
    EXPECT_EQ(out_.str(),
              "                ok       as expected, 0.0 s\n"
              "                ok       1 expectation held, 1.5 s\n"
              "                ok       2 expectations held, 10.0 s\n");
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

TEST_F(ScreenTest, TableHasARowForEachStepBelowItsScenario) {
    quiet_.Table({{"First", "Starts", true, "", std::chrono::milliseconds(100)},
                  {"First", "Ends", false, "line 7: no", std::chrono::milliseconds(12000)},
                  {"Second", "Starts", true, "", std::chrono::milliseconds(0)}});
    EXPECT_EQ(out_.str(),
              "\n"
              "What was asked  What happened      Time\n"
              "First\n"
              "  Starts        as expected       0.1 s\n"
              "  Ends          FAILED           12.0 s\n"
              "    line 7: no\n"
              "Second\n"
              "  Starts        as expected       0.0 s\n");
}

TEST_F(ScreenTest, FiguresStandBelowEachOther) {
    Figures figures;
    figures.requests = 12;
    quiet_.Show(figures);
    EXPECT_THAT(out_.str(), HasSubstr("\nIn figures\n"
                                      "  Requests to the product     12\n"
                                      "  Pings                        0\n"));
}

}  // namespace
}  // namespace Kyr::Lab::Runner
