#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/probe/explain/LoggedLife.h"

namespace Kyr::Probe {
namespace {

using namespace Kyr::Probe::Test;
using namespace testing;

TEST(HostEventsTest, TaskThatTheProductCouldNotCarryOutIsNamed) {
    const Story story =
        CLoggedLife()
            .Connected()
            .Kill()
            .AddLine("symbols type=10368 name=EventLog_TASK row=0 2836-status=4 2842-task-first=" +
                     std::string(kFirst) + " 2844-task-second=" + kSecond + " 2846-task-third=" +
                     kThird + " 2848-outcome=0x000000010000000c 2913-description=\"Task failed\"")
            .Add(2, "Task status received")
            .Told();
    ASSERT_THAT(story.tasks, SizeIs(1));
    EXPECT_EQ(story.tasks[0].state, TaskState::kFailedAtProduct);
    EXPECT_THAT(Why(story, kThird), HasSubstr("the product has taken the task, and could not"));
}

TEST(HostEventsTest, EventOfADoneTaskSaysSo) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Outcome("0x000000010000000b")
                            .Add(2, "Task status received")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kDone);
    EXPECT_TRUE(story.IsFine());
}

TEST(HostEventsTest, FailureThatTheHostNamesIsTheTasksWhateverComesBehindIt) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Outcome("0x000000010000000c")
                            .Add(4, kPortGone)
                            .Reconnecting()
                            .Add(1, "Protection status log raw content: <x>")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kRetried);
}

TEST(HostEventsTest, OutcomeThatTheHostNamesIsNotGivenToAnotherTask) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Kill(std::string(kSecond) + ";" + kSecond + ";" + kSecond)
                            .Outcome("0x000000010000000b")
                            .Add(2, "Task status received")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kDone);
    EXPECT_EQ(story.tasks.at(1).state, TaskState::kAccepted);
}

}  // namespace
}  // namespace Kyr::Probe
