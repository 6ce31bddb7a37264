#include <gmock/gmock.h>

#include "lab/common/Console.h"
#include "lab/simproduct/typed/ProcessCommands.h"
#include "tests/lab/simproduct/ProductFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using namespace testing;

class ProcessCommandsTest : public ProductFixture {
  protected:
    std::vector<std::string> Execute(const std::string& line) {
        console_.Execute(line);
        return lines_.Take();
    }

    CConsole console_{{ProcessCommands(product_, program_)}, lines_.Sink()};
};

TEST_F(ProcessCommandsTest, StartWithoutProgramStartsTheVictim) {
    EXPECT_THAT(Execute("start one"), Contains("answer command=start name=one pid=1000"));
    EXPECT_THAT(launcher_.launches, ElementsAre(program_));
}

TEST_F(ProcessCommandsTest, StartHandsOnTheArguments) {
    Execute("start one \"" + program_ + "\" first \"second one\" n=1");

    EXPECT_THAT(launcher_.launches, ElementsAre(program_ + " first second one n=1"));
}

TEST_F(ProcessCommandsTest, StartOfABlockedProgramIsRefused) {
    product_.BlockExecutable({kSha1, std::nullopt}, false, "");
    lines_.Take();

    EXPECT_THAT(Execute("start one"), ElementsAre("error command=start text=blocked"));
    EXPECT_THAT(launcher_.launches, IsEmpty());
}

TEST_F(ProcessCommandsTest, AdoptTakesOverAVictim) {
    EXPECT_THAT(Execute("adopt old 77"), Contains("answer command=adopt name=old pid=77"));
    EXPECT_THAT(launcher_.launches, ElementsAre(program_ + " #77"));
}

TEST_F(ProcessCommandsTest, TaskLogTellsOutcomes) {
    product_.KillProcess("7", {}, "a;b;c");
    lines_.Take();

    EXPECT_THAT(Execute("tasklog"),
                ElementsAre("answer command=tasklog number=1 function=KILL_PROCESS_BY_PID "
                            "state=refused text=\"not a lab process\" userdata=a;b;c",
                            "answer command=tasklog tasks=1"));
}

TEST_F(ProcessCommandsTest, WhatIsNotUnderstoodIsRefused) {
    for (const char* line : {"start", "adopt old", "adopt old x", "adopt old 77 78", "tasklog 1"}) {
        EXPECT_THAT(Execute(line), ElementsAre(StartsWith("error "))) << line;
    }
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
