#include <gmock/gmock.h>

#include "lab/common/Console.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Lab {
namespace {

using ::testing::Contains;
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
        return events_.Texts();
    }

    CLineList events_;
    CConsole console_{
        {{{"echo", "<word>", "Says it again.", &Echo}}, {{"echo", "loud", "Shouts.", nullptr}}},
        events_.Sink()};
};

TEST_F(ConsoleTest, CommandGetsItsWord) {
    EXPECT_THAT(Execute("echo hello"), ElementsAre("answer loud=0 to=nobody times=1 word=hello"));
}

TEST_F(ConsoleTest, FlagsAndValuesMayStandBeforeOrBehindTheWord) {
    EXPECT_THAT(Execute("echo to=all hello times=0x9 loud"),
                ElementsAre("answer loud=1 to=all times=9 word=hello"));
}

TEST_F(ConsoleTest, QuotedWordKeepsItsBlanks) {
    EXPECT_THAT(Execute("echo \"good day\""),
                ElementsAre("answer loud=0 to=nobody times=1 word=\"good day\""));
}

TEST_F(ConsoleTest, EmptyLineDoesNothing) {
    EXPECT_THAT(Execute("  "), IsEmpty());
}

TEST_F(ConsoleTest, UnknownCommandIsAnError) {
    EXPECT_THAT(Execute("shout"),
                ElementsAre("error command=shout text=\"no such command; try help\""));
}

TEST_F(ConsoleTest, MissingWordIsAnErrorThatNamesIt) {
    EXPECT_THAT(Execute("echo"), ElementsAre("error command=echo text=\"the word is missing\""));
}

TEST_F(ConsoleTest, WordTooManyIsAnErrorThatNamesIt) {
    EXPECT_THAT(Execute("echo a b"), ElementsAre("error command=echo text=\"not understood: b\""));
}

TEST_F(ConsoleTest, UnfinishedQuoteIsAnError) {
    ASSERT_THAT(Execute("echo \"a"), ::testing::SizeIs(1));
    EXPECT_THAT(events_.Texts().front(), ::testing::StartsWith("error command="));
}

TEST_F(ConsoleTest, NumberAboveItsLimitIsAnErrorThatStatesIt) {
    EXPECT_THAT(Execute("echo a times=10"),
                ElementsAre("error command=echo text=\"times is at most 9\""));
    EXPECT_THAT(Execute("echo a times=ten"),
                Contains("error command=echo text=\"'ten' is not a number\""));
}

TEST_F(ConsoleTest, HelpListsEveryRowAndItself) {
    EXPECT_THAT(Execute("help"),
                ElementsAre("answer command=help usage=\"echo <word>\" text=\"Says it again.\"",
                            "answer command=help usage=\"echo loud\" text=Shouts.",
                            "answer command=help usage=help text=\"Lists the commands.\""));
}

}  // namespace
}  // namespace Kyr::Lab
