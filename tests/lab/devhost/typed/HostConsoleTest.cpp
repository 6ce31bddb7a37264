#include <gmock/gmock.h>

#include "lab/devhost/typed/HostConsole.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Test {
namespace {

using Lab::CLine;
using Lab::LineSink;
using Lab::DevHost::CCommandArguments;
using Lab::DevHost::CHostConsole;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HostConsoleTest : public ::testing::Test {
  protected:
    /// The command `echo <word> [loud] [to=<name>]`.
    static void Echo(CCommandArguments& arguments, const LineSink& answer) {
        CLine line("answer");
        line.With("loud", arguments.TakeFlag("loud") ? "1" : "0");
        line.With("to", arguments.TakeValue("to").value_or("nobody"));
        line.With("word", arguments.TakeWord("word"));
        arguments.Finish();
        answer(line);
    }

    std::vector<std::string> Execute(const std::string& line) {
        console_.Execute(line);
        return events_.Texts();
    }

    Lab::CLineList events_;
    CHostConsole console_{{{"echo", "<word> [loud] [to=<name>]", "Says it again.", &Echo}},
                          events_.Sink()};
};

TEST_F(HostConsoleTest, CommandGetsItsWord) {
    EXPECT_THAT(Execute("echo hello"), ElementsAre("answer loud=0 to=nobody word=hello"));
}

TEST_F(HostConsoleTest, FlagsAndValuesMayStandBeforeOrBehindTheWord) {
    EXPECT_THAT(Execute("echo to=all hello loud"), ElementsAre("answer loud=1 to=all word=hello"));
}

TEST_F(HostConsoleTest, QuotedWordKeepsItsBlanks) {
    EXPECT_THAT(Execute("echo \"good day\""),
                ElementsAre("answer loud=0 to=nobody word=\"good day\""));
}

TEST_F(HostConsoleTest, EmptyLineDoesNothing) {
    EXPECT_THAT(Execute("  "), IsEmpty());
}

TEST_F(HostConsoleTest, UnknownCommandIsAnError) {
    EXPECT_THAT(Execute("shout"),
                ElementsAre("error command=shout text=\"no such command; try help\""));
}

TEST_F(HostConsoleTest, MissingWordIsAnErrorThatNamesIt) {
    EXPECT_THAT(Execute("echo"), ElementsAre("error command=echo text=\"the word is missing\""));
}

TEST_F(HostConsoleTest, WordTooManyIsAnErrorThatNamesIt) {
    EXPECT_THAT(Execute("echo a b"),
                ElementsAre("error command=\"echo a b\" text=\"not understood: b\""));
}

TEST_F(HostConsoleTest, UnfinishedQuoteIsAnError) {
    ASSERT_THAT(Execute("echo \"a"), ::testing::SizeIs(1));
    EXPECT_THAT(events_.Texts().front(), ::testing::StartsWith("error command="));
}

TEST_F(HostConsoleTest, HelpListsEveryCommandAndItself) {
    EXPECT_THAT(Execute("help"),
                ElementsAre("answer command=help usage=\"echo <word> [loud] [to=<name>]\" "
                            "text=\"Says it again.\"",
                            "answer command=help usage=help text=\"Lists the commands.\""));
}

}  // namespace
}  // namespace Kyr::Test
