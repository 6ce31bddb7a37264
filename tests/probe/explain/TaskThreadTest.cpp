#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/probe/explain/LoggedLife.h"

namespace Kyr::Probe {
namespace {

using namespace Kyr::Probe::Test;
using namespace testing;

TEST(TaskThreadTest, TaskThatTheProductTookIsFine) {
    const Story story =
        CLoggedLife().Connected().Kill().Add(2, "Disconnecting from product").Told();
    ASSERT_THAT(story.tasks, SizeIs(1));
    EXPECT_THAT(story.tasks[0].identifiers, ElementsAre(kFirst, kSecond, kThird));
    EXPECT_EQ(story.tasks[0].what, "kill a process");
    EXPECT_EQ(story.tasks[0].state, TaskState::kAccepted);
    EXPECT_EQ(story.tasks[0].first.where, "host.log:4");
    EXPECT_TRUE(story.IsFine());
}

TEST(TaskThreadTest, WatchThatGoesOnShowsThatTheProductHasAnswered) {
    const Story story =
        CLoggedLife().Connected().Kill().Wait(11).Add(2, "Received broadcast 2").Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAccepted);
}

TEST(TaskThreadTest, HungProductIsNamed) {
    const Story story =
        CLoggedLife().Connected().Kill().Wait(3).Add(2, "Received broadcast 2").Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAsked);
    EXPECT_THAT(Why(story, kSecond), HasSubstr("it hangs at this request, or the host has ended"));
    EXPECT_FALSE(story.IsFine());
}

TEST(TaskThreadTest, OnlyTaskThatWaitsHasTheOutcome) {
    const Story story = CLoggedLife().Connected().Kill().Add(2, "Task status received").Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kTold);
}

TEST(TaskThreadTest, OneOutcomeForTwoTasksIsNobodys) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Kill(std::string(kSecond) + ";" + kSecond + ";" + kSecond)
                            .Add(2, "Task status received")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAccepted);
    EXPECT_EQ(story.tasks.at(1).state, TaskState::kAccepted);
}

TEST(TaskThreadTest, ProductWithoutRightsIsNamedAndTheTaskGivenUp) {
    constexpr char kRefusal[] =
        "CKelcommChannel: Send request failed with 14, Command failed - Make sure that Agent runs "
        "with Administrator privileges.";
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Add(4, kRefusal)
                            .Add(2, "Reconnecting to product")
                            .Kill()
                            .Add(4, kRefusal)
                            .Add(2, "Reconnecting to product")
                            .Add(4,
                                 "Message task was canceled because maximum retry count was "
                                 "reached, message was: KillProcessByPid")
                            .Told();
    ASSERT_THAT(story.tasks, SizeIs(1));
    EXPECT_EQ(story.tasks[0].state, TaskState::kGivenUp);
    EXPECT_EQ(story.tasks[0].attempts, 2);
    EXPECT_EQ(story.tasks[0].cause,
              "it failed twice; the last time: the product has refused: it wants the host to run "
              "with administrator's rights");
    EXPECT_THAT(Why(story, kFirst), HasSubstr("next: run the host with administrator's rights"));
}

TEST(TaskThreadTest, ProductThatIsOlderThanTheTaskIsNamed) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Add(4, "CKelcommChannel: Send request failed with 3")
                            .Add(2, "Reconnecting to product")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kRetried);
    EXPECT_EQ(story.tasks.at(0).cause,
              "the product has refused with status 3: it does not know the request, as one that is "
              "older than the task, or does not take it");
}

TEST(TaskThreadTest, PortThatIsGoneIsNamedAndTheTaskTriedAgain) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Add(4, "CKelcommChannel: Send request failed with kelcomm error 1")
                            .Add(2, "Reconnecting to product")
                            .Kill()
                            .Add(2, "Disconnecting from product")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAccepted);
    ASSERT_THAT(story.outages, SizeIs(1));
    EXPECT_EQ(story.outages[0].cause,
              "no exchange with the product, code 1: the port is gone, or the product has ended in "
              "the middle");
    EXPECT_TRUE(story.outages[0].over);
    EXPECT_EQ(story.outages[0].begins.where, "host.log:5");
    EXPECT_EQ(story.outages[0].ends.where, "host.log:7");
    EXPECT_FALSE(story.IsFine());
}

TEST(TaskThreadTest, TaskThatIsCancelledWhileTheProductIsNotThereIsNamed) {
    const Story story = CLoggedLife()
                            .Add(2, "Connecting to product")
                            .Add(4, "Product is not available, canceling tasks")
                            .Add(4,
                                 "Message task was canceled because product is not available, "
                                 "message was: BlockExecutableByHash")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).what, "block an executable");
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kGivenUp);
    EXPECT_THAT(story.tasks.at(0).cause, HasSubstr("could not be reached before the host stopped"));
    EXPECT_THAT(InText(story), HasSubstr("identifiers not in the log"));
}

// The lines of two threads: the product takes the task and ends, the watch finds that out, and its
// request for the status is what fails.
TEST(TaskThreadTest, FailureOfTheWatchsRequestLeavesAnAcceptedTaskAccepted) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Add(3, kPingFailed)
                            .Add(4, kPortGone)
                            .Reconnecting()
                            .Add(1, "Protection status log raw content: <x>")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAccepted);
    EXPECT_EQ(story.tasks.at(0).cause, "");
    EXPECT_EQ(story.tasks.at(0).last.where, "host.log:4");
    EXPECT_EQ(story.tasks.at(0).attempts, 1);
}

TEST(TaskThreadTest, FailureBehindAnotherRequestIsNotSaidToBeTheTasks) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Add(3, kPingFailed)
                            .Add(4, kPortGone)
                            .Reconnecting()
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAsked);
    EXPECT_THAT(story.tasks.at(0).cause,
                StartsWith("the log does not say whether the product has taken it"));
}

TEST(TaskThreadTest, FailureOfATriggerLeavesAnAcceptedTaskAccepted) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Add(4, kRefused)
                            .Reconnecting()
                            .Add(4, kRefused)
                            .Reconnecting()
                            .Add(4, std::string(kRetriesExhausted) + "OvAgentRequest")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAccepted);
    ASSERT_THAT(story.problems, SizeIs(2));
    EXPECT_THAT(
        story.problems[1].cause,
        HasSubstr("a request for status, outcomes or records was given up: it failed twice; "
                  "the last time: the product has refused with status 3"));
}

TEST(TaskThreadTest, TaskThatIsAskedForAgainHasFailedAlsoBehindAnotherRequest) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Add(3, kPingFailed)
                            .Add(4, kPortGone)
                            .Reconnecting()
                            .Kill()
                            .Add(4, kPortGone)
                            .Reconnecting()
                            .Add(4, std::string(kRetriesExhausted) + "KillProcessByPid")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kGivenUp);
    EXPECT_EQ(story.tasks.at(0).attempts, 2);
    EXPECT_THAT(story.tasks, SizeIs(1));
}

TEST(TaskThreadTest, PolicyOfTheConnectionSaysNothingOfATaskThatHasFailed) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Add(4, kPortGone)
                            .Reconnecting()
                            .Add(2, kPolicyTaken)
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kRetried);
    EXPECT_TRUE(story.outages.at(0).over);
}

TEST(TaskThreadTest, TaskThatWaitsForItsNextAttemptWhenTheHostStopsSaysSo) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill()
                            .Add(4, kPortGone)
                            .Reconnecting()
                            .Add(4, "Task processing was interrupted")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kRetried);
    EXPECT_THAT(story.tasks.at(0).cause,
                EndsWith("; the host has stopped the connector before the next attempt"));
}

TEST(TaskThreadTest, HostThatEndsWithoutAWordLeavesTheTaskOpen) {
    const Story story = CLoggedLife().Connected().Kill().Connected().Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAsked);
    EXPECT_EQ(story.tasks.at(0).cause,
              "nothing in the log says that the product has answered: the host has ended without a "
              "word");
}

TEST(TaskThreadTest, TasksWithoutUuidsAreKeptApart) {
    const Story story = CLoggedLife().Connected().Kill("a;b;c").Kill("d;e;f").Kill("").Told();
    ASSERT_THAT(story.tasks, SizeIs(3));
    EXPECT_EQ(story.tasks[0].first.where, "host.log:4");
    EXPECT_EQ(story.tasks[1].first.where, "host.log:6");
    EXPECT_EQ(story.tasks[1].attempts, 1);
    EXPECT_EQ(story.tasks[2].first.where, "host.log:8");
}

TEST(TaskThreadTest, SecondAttemptOfATaskWithoutUuidsIsTheSameTask) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Kill("a;b;c")
                            .Add(4, kPortGone)
                            .Reconnecting()
                            .Kill("a;b;c")
                            .Told();
    ASSERT_THAT(story.tasks, SizeIs(1));
    EXPECT_EQ(story.tasks[0].attempts, 2);
}

TEST(TaskThreadTest, LogWithoutTimesTellsTheSameByItsLines) {
    HostLog log;
    std::istringstream input(
        "COvAgentConnectorModule: Connecting to product\n"
        "COvAgentConnectorModule: Connected to product, processing tasks\n"
        "COvAgentConnectorModule: Sending kill process by pid request to product\n"
        "COvAgentConnectorModule: XML request: <NODE NAME=\"USERDATA\" TYPE=\"STRING\" "
        "VALUE=\"11111111-1111-1111-1111-111111111111;22222222-2222-2222-2222-222222222222;"
        "33333333-3333-3333-3333-333333333333\" />\n"
        "COvAgentConnectorModule: CKelcommChannel: Send request failed with kelcomm error 1\n"
        "COvAgentConnectorModule: Reconnecting to product\n");
    ReadHostLog(input, "host.log", log);
    EXPECT_EQ(Why(Tell(log), kFirst),
              "  kill a process: failed, and is tried again\n"
              "      11111111-1111-1111-1111-111111111111;22222222-2222-2222-2222-222222222222;"
              "33333333-3333-3333-3333-333333333333\n"
              "      from host.log:4 to host.log:5, asked 1 time\n"
              "      why:  no exchange with the product, code 1: the port is gone, or the product "
              "has ended in the middle\n"
              "      next: start the product, or look why it has ended; `ovprobe doctor` tells "
              "more\n");
}

TEST(TaskThreadTest, IdentifierWithoutItsDashesIsNoUuid) {
    const std::string digits(36, '1');
    const Story story =
        CLoggedLife().Connected().Kill(digits + ";" + kSecond + ";" + kThird).Told();
    EXPECT_THAT(story.tasks.at(0).identifiers, ElementsAre("(no UUID)", kSecond, kThird));
}

}  // namespace
}  // namespace Kyr::Probe
