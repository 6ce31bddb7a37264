#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/simproduct/typed/ProductConsole.h"
#include "tests/lab/simproduct/ProductFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using namespace testing;

class CFakeServer : public IPort {
  public:
    void Open() override { open_ = true; }
    void Close() override { open_ = false; }
    bool IsOpen() const override { return open_; }

  private:
    bool open_ = false;
};

class ProductConsoleTest : public ProductFixture {
  protected:
    std::vector<std::string> Execute(const std::string& line) {
        EXPECT_TRUE(console_.Execute(line));
        return lines_.Take();
    }

    CMisbehaviours misbehaviours_;
    CFakeServer alpc_;
    CFakeServer lpc_;
    /// The command `whistle`.
    ConsoleCommandGroup Whistling() {
        return {{"whistle", "whistle <tune>", "a tune", [this](const Words& words) {
                     RequireWords(words, 2);
                     lines_.Sink()(AnswerTo("whistle").With("tune", words.at(1)));
                 }}};
    }

    CProductConsole console_{
        {product_, processes_, misbehaviours_, alpc_, lpc_, lines_.Sink(), program_},
        {Whistling()}};
};

TEST_F(ProductConsoleTest, CommandOfAGroupIsCarriedOut) {
    EXPECT_THAT(Execute("whistle low"), ElementsAre("answer command=whistle tune=low"));
    EXPECT_THAT(Execute("whistle low high"),
                ElementsAre("error command=whistle text=\"'high' is one word too many\""));
}

TEST_F(ProductConsoleTest, CommandOfAGroupStandsInTheHelp) {
    EXPECT_THAT(Execute("help"),
                Contains("answer command=help usage=\"whistle <tune>\" text=\"a tune\""));
}

TEST_F(ProductConsoleTest, StartWithoutProgramStartsTheVictim) {
    EXPECT_THAT(Execute("start one"), Contains("answer command=start name=one pid=1000"));
    EXPECT_THAT(launcher_.launches, ElementsAre(program_));
}

TEST_F(ProductConsoleTest, StartHandsOnTheArguments) {
    Execute("start one \"" + program_ + "\" first \"second one\"");

    EXPECT_THAT(launcher_.launches, ElementsAre(program_ + " first second one"));
}

TEST_F(ProductConsoleTest, StartOfABlockedProgramIsRefused) {
    product_.BlockExecutable({kSha1, std::nullopt}, false, "");
    lines_.Take();

    EXPECT_THAT(Execute("start one"), ElementsAre("error command=start text=blocked"));
    EXPECT_THAT(launcher_.launches, IsEmpty());
}

TEST_F(ProductConsoleTest, StartWithoutANameIsRefused) {
    EXPECT_THAT(Execute("start"), ElementsAre("error command=start text=\"a name is missing\""));
}

TEST_F(ProductConsoleTest, AdoptTakesOverAVictim) {
    EXPECT_THAT(Execute("adopt old 77"), Contains("answer command=adopt name=old pid=77"));
    EXPECT_THAT(launcher_.launches, ElementsAre(program_ + " #77"));
}

TEST_F(ProductConsoleTest, AdoptWithoutANumberIsRefused) {
    EXPECT_THAT(Execute("adopt old"),
                ElementsAre("error command=adopt text=\"a name and a process id are wanted\""));
}

TEST_F(ProductConsoleTest, ListTellsProcessesAndBlockedHashes) {
    StartOne();
    product_.BlockExecutable({"s1", std::nullopt}, true, "");
    lines_.Take();

    EXPECT_THAT(Execute("list"),
                ElementsAre("answer command=list name=one pid=1000 state=running program=" +
                                program_ + " sha256=" + kSha256,
                            "answer command=list state=blocked sha1=s1 sha256=\"\" delete=yes",
                            "answer command=list processes=1 blocked=1"));
}

TEST_F(ProductConsoleTest, TaskLogTellsOutcomes) {
    product_.KillProcess("7", {}, "a;b;c");
    lines_.Take();

    EXPECT_THAT(Execute("tasklog"),
                ElementsAre("answer command=tasklog number=1 function=KILL_PROCESS_BY_PID "
                            "state=refused text=\"not a lab process\" userdata=a;b;c",
                            "answer command=tasklog tasks=1"));
}

TEST_F(ProductConsoleTest, MisbehaveAddsListsAndClears) {
    EXPECT_THAT(Execute("misbehave status 14 for=2"),
                ElementsAre("answer command=misbehave fault=\"status 14 for=2\"",
                            "answer command=misbehave faults=1"));
    EXPECT_THAT(Execute("misbehave list"), Contains("answer command=misbehave faults=1"));
    EXPECT_THAT(Execute("misbehave clear"), ElementsAre("answer command=misbehave faults=0"));
}

TEST_F(ProductConsoleTest, ClearingOneFaultLeavesTheOthers) {
    Execute("misbehave drop");
    Execute("misbehave hang");

    EXPECT_THAT(Execute("misbehave clear drop"), ElementsAre("answer command=misbehave fault=hang",
                                                             "answer command=misbehave faults=1"));
}

TEST_F(ProductConsoleTest, ClearingAnUnknownFaultIsRefused) {
    Execute("misbehave drop");

    EXPECT_THAT(Execute("misbehave clear dorp"), ElementsAre(HasSubstr("error command=misbehave")));
    EXPECT_EQ(1u, misbehaviours_.List().size());
}

TEST_F(ProductConsoleTest, AbsentPortIsClosedAtOnceAndOpenedAgain) {
    console_.OpenPorts();
    EXPECT_TRUE(alpc_.IsOpen());
    EXPECT_TRUE(lpc_.IsOpen());

    Execute("misbehave no-alpc");
    EXPECT_FALSE(alpc_.IsOpen());
    EXPECT_TRUE(lpc_.IsOpen());

    Execute("misbehave clear no-alpc");
    EXPECT_TRUE(alpc_.IsOpen());
}

TEST_F(ProductConsoleTest, HelpNamesEveryCommandAndFault) {
    const std::vector<std::string> help = Execute("help");

    for (const char* word : {"start", "list", "tasklog", "misbehave", "help", "quit", "stop"}) {
        EXPECT_THAT(help, Contains(HasSubstr(word)));
    }
    EXPECT_THAT(help, Contains("answer command=help fault=\"delay n: the reply comes n "
                               "milliseconds late\""));
}

TEST_F(ProductConsoleTest, QuitAndStopEnd) {
    EXPECT_FALSE(console_.Execute("quit"));
    EXPECT_THAT(lines_.Take(), ElementsAre("answer command=quit"));
    EXPECT_FALSE(console_.Execute("stop"));
}

TEST_F(ProductConsoleTest, EmptyLineDoesNothing) {
    EXPECT_THAT(Execute("  "), IsEmpty());
}

TEST_F(ProductConsoleTest, UnknownCommandIsAnError) {
    EXPECT_THAT(Execute("jump"), ElementsAre(HasSubstr("error command=jump text=")));
}

TEST_F(ProductConsoleTest, WordsTooManyAreAnError) {
    EXPECT_THAT(Execute("list all"),
                ElementsAre("error command=list text=\"'all' is one word too many\""));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
