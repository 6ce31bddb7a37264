#include <gmock/gmock.h>

#include "lab/common/Console.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Lab {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ConsoleTest : public ::testing::Test {
  protected:
    /// The command `echo <word> [loud] [to=<name>] [times=<n>]`.
    static void Echo(CCommandWords& words, const LineSink& tell) {
        CLine line("answer");
        line.With("loud", words.TakeFlag("loud") ? "1" : "0");
        line.With("to", words.TakeValue("to").value_or("nobody"));
        line.With("times", words.TakeNumber("times", 9).value_or(1));
        line.With("word", words.TakeWord("word"));
        words.Finish();
        tell(line);
    }

    std::vector<std::string> Execute(const std::string& line) {
        console_.Execute(line);
        return events_.Take();
    }

    CLineList events_;
    CConsole console_{
        {{{"echo", "<word>", "Says it again.", &Echo}}, {{"echo", "loud", "Shouts.", nullptr}}},
        events_.Sink()};
};

TEST_F(ConsoleTest, CommandGetsItsWordsWhereverTheyStand) {
    const struct {
        const char* line;
        const char* answer;
    } kRows[] = {
        {"echo hello", "answer loud=0 to=nobody times=1 word=hello"},
        {"echo to=all hello times=0x9 loud", "answer loud=1 to=all times=9 word=hello"},
        {"echo \"good day\"", "answer loud=0 to=nobody times=1 word=\"good day\""},
    };
    for (const auto& row : kRows) {
        EXPECT_THAT(Execute(row.line), ElementsAre(row.answer));
    }
}

TEST_F(ConsoleTest, EmptyLineDoesNothing) {
    EXPECT_THAT(Execute("  "), IsEmpty());
}

TEST_F(ConsoleTest, WhatCannotBeCarriedOutIsAnErrorThatSaysWhy) {
    const struct {
        const char* line;
        const char* error;
    } kRows[] = {
        {"shout", "error command=shout text=\"no such command; try help\""},
        {"echo", "error command=echo text=\"the word is missing\""},
        {"echo a b", "error command=echo text=\"not understood: b\""},
        {"echo a times=10", "error command=echo text=\"times is at most 9\""},
        {"echo a times=ten", "error command=echo text=\"'ten' is not a number\""},
        {"echo \"a", R"(error command="echo \"a" text="closing quote missing")"},
    };
    for (const auto& row : kRows) {
        EXPECT_THAT(Execute(row.line), ElementsAre(row.error));
    }
}

TEST_F(ConsoleTest, HelpListsEveryRowAndItself) {
    EXPECT_THAT(Execute("help"),
                ElementsAre("answer command=help usage=\"echo <word>\" text=\"Says it again.\"",
                            "answer command=help usage=\"echo loud\" text=Shouts.",
                            "answer command=help usage=help text=\"Lists the commands.\""));
}

}  // namespace
}  // namespace Kyr::Lab
