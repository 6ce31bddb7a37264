// Logs with one thing planted in each, and the cause that must be named.
#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "probe/explain/HostLog.h"
#include "probe/explain/StoryText.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr char kFirst[] = "11111111-1111-1111-1111-111111111111";
constexpr char kSecond[] = "22222222-2222-2222-2222-222222222222";
constexpr char kThird[] = "33333333-3333-3333-3333-333333333333";

/// Lines of the lab's host, a second after each other.
class CLog {
  public:
    CLog& Add(int level, const std::string& text) {
        std::string quoted;
        for (const char sign : text) {
            quoted += sign == '"' || sign == '\\' ? std::string{'\\', sign} : std::string{sign};
        }
        return AddLine("log level=" + std::to_string(level) +
                       " source=COvAgentConnectorModule text=\"" + quoted + "\"");
    }
    CLog& AddLine(const std::string& line) {
        const std::string second = std::to_string(seconds_ % 60);
        text_ += "12:0" + std::to_string(seconds_ / 60) + ":" + (second.size() == 1 ? "0" : "") +
                 second + ".000 " + line + " at=1\n";
        ++seconds_;
        return *this;
    }
    CLog& Connected() {
        return Add(2, "Connecting to product").Add(2, "Connected to product, processing tasks");
    }
    CLog& Kill(const std::string& userData = std::string(kFirst) + ";" + kSecond + ";" + kThird) {
        return Add(2, "Sending kill process by pid request to product")
            .Add(2,
                 "XML request: <NODE NAME=\"PID\" TYPE=\"STRING\" VALUE=\"4711\" /><NODE "
                 "NAME=\"USERDATA\" TYPE=\"STRING\" VALUE=\"" +
                     userData + "\" />");
    }
    CLog& Wait(int seconds) {
        seconds_ += seconds;
        return *this;
    }

    Story Told() const {
        HostLog log;
        std::istringstream input(text_);
        ReadHostLog(input, "host.log", log);
        return Tell(log);
    }

  private:
    std::string text_;
    int seconds_ = 0;
};

std::string InText(const Story& story) {
    std::ostringstream out;
    WriteStory(out, story);
    return out.str();
}

std::string Why(const Story& story, const std::string& identifier) {
    std::ostringstream out;
    WriteTasks(out, OnlyTask(story, identifier));
    return out.str();
}

TEST(ExplainTest, TaskThatTheProductTookIsFine) {
    const Story story = CLog().Connected().Kill().Add(2, "Disconnecting from product").Told();
    ASSERT_THAT(story.tasks, SizeIs(1));
    EXPECT_THAT(story.tasks[0].identifiers, ElementsAre(kFirst, kSecond, kThird));
    EXPECT_EQ(story.tasks[0].what, "kill a process");
    EXPECT_EQ(story.tasks[0].state, TaskState::kAccepted);
    EXPECT_EQ(story.tasks[0].first.where, "host.log:4");
    EXPECT_TRUE(story.IsFine());
}

TEST(ExplainTest, WatchThatGoesOnShowsThatTheProductHasAnswered) {
    const Story story = CLog().Connected().Kill().Wait(11).Add(2, "Received broadcast 2").Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAccepted);
}

TEST(ExplainTest, HungProductIsNamed) {
    const Story story = CLog().Connected().Kill().Wait(3).Add(2, "Received broadcast 2").Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAsked);
    EXPECT_THAT(Why(story, kSecond), HasSubstr("it hangs, or the log ends here"));
    EXPECT_FALSE(story.IsFine());
}

TEST(ExplainTest, OnlyTaskThatWaitsHasTheOutcome) {
    const Story story = CLog().Connected().Kill().Add(2, "Task status received").Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kTold);
}

TEST(ExplainTest, OneOutcomeForTwoTasksIsNobodys) {
    const Story story = CLog()
                            .Connected()
                            .Kill()
                            .Kill(std::string(kSecond) + ";" + kSecond + ";" + kSecond)
                            .Add(2, "Task status received")
                            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kAccepted);
    EXPECT_EQ(story.tasks.at(1).state, TaskState::kAccepted);
}

TEST(ExplainTest, ProductWithoutRightsIsNamedAndTheTaskGivenUp) {
    constexpr char kRefusal[] =
        "CKelcommChannel: Send request failed with 14, Command failed - Make sure that Agent runs "
        "with Administrator privileges.";
    const Story story = CLog()
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

TEST(ExplainTest, ProductThatIsOlderThanTheTaskIsNamed) {
    const Story story = CLog()
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

TEST(ExplainTest, PortThatIsGoneIsNamedAndTheTaskTriedAgain) {
    const Story story = CLog()
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
    EXPECT_EQ(story.outages[0].begins.where, "host.log:6");
    EXPECT_EQ(story.outages[0].ends.where, "host.log:7");
    EXPECT_FALSE(story.IsFine());
}

TEST(ExplainTest, ProductThatDoesNotRunIsWhyAQueuedTaskWaits) {
    constexpr char kPings[] =
        "Cannot start kelcomm channel: Ping (CCCOMM_PING) failed with 1, Legacy ping "
        "(CCCOMM_PING) failed with 1";
    const Story story =
        CLog()
            .Add(2, "Connecting to product")
            .AddLine("answer command=kill ids=" + std::string(kFirst) + "," + kSecond + "," +
                     kThird)
            .Add(3, kPings)
            .Add(4, std::string("Starting TULK OVANTA Connector connector module failed with: ") +
                        kPings)
            .Told();
    EXPECT_EQ(story.tasks.at(0).cause,
              "the connector waits for the product: the product does not answer a ping: no port is "
              "there, or nobody serves it");
    EXPECT_TRUE(story.connecting);
    EXPECT_EQ(story.outages.at(0).attempts, 1);
}

TEST(ExplainTest, TaskThatIsCancelledWhileTheProductIsNotThereIsNamed) {
    const Story story = CLog()
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

TEST(ExplainTest, TaskThatTheProductCouldNotCarryOutIsNamed) {
    const Story story =
        CLog()
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

TEST(ExplainTest, EventOfADoneTaskSaysSo) {
    const Story story =
        CLog()
            .Connected()
            .Kill()
            .AddLine("symbols type=10368 2836-status=1 2842-task-first=" + std::string(kFirst) +
                     " 2844-task-second=" + kSecond + " 2846-task-third=" + kThird +
                     " 2848-outcome=0x000000010000000b")
            .Add(2, "Task status received")
            .Told();
    EXPECT_EQ(story.tasks.at(0).state, TaskState::kDone);
    EXPECT_TRUE(story.IsFine());
}

TEST(ExplainTest, RefusedPolicyIsNamed) {
    const Story story = CLog()
                            .Connected()
                            .Add(4, "CKelcommChannel: Send request failed with 2")
                            .Add(2, "Reconnecting to product")
                            .Told();
    ASSERT_THAT(story.outages, SizeIs(1));
    EXPECT_THAT(story.outages[0].cause, HasSubstr("the product has refused with status 2"));
    EXPECT_FALSE(story.outages[0].over);
}

TEST(ExplainTest, ProblemIsNamedByWhatIsBehindIt) {
    struct Row {
        const char* line;
        const char* cause;
    };
    constexpr Row kRows[] = {
        {"bad lexical cast: source type value could not be interpreted as target",
         "the position that the host's database stores is no number"},
        {"OV Remediation: Failed to store with batch size: 2",
         "the host's store has refused a batch of remediation actions"},
        {"Error during checking for new ECS logs: disk I/O error",
         "the policy's flags cannot be read from the host's database"},
        {"Policy is damaged: not a compressed blob",
         "the policy that came from the server is damaged"},
        {"Error during checking for new broadcast messages: CKelcommChannel: Get broadcast failed",
         "the product's broadcast area cannot be read"},
        {"OV rule actions flag is not a bool, disabling rule actions propagation",
         "the policy's flag for remediation actions is neither 0 nor 1"},
        {"No block actions received from OV Connector",
         "a batch of remediation actions has no block action"},
        {"KelcommChannelBuffer: Buffer is not full enough",
         "a reply of the product is shorter than it says"},
        {"Bad cast to Kyr::Common::Module::CResponse",
         "the host gives something of another type than the connector needs"},
        {"the disk of the host is full", "a failure whose text is none of the connector's"},
    };
    for (const Row& row : kRows) {
        const Story story = CLog().Connected().Add(4, row.line).Add(4, row.line).Told();
        ASSERT_THAT(story.problems, SizeIs(1)) << row.line;
        EXPECT_THAT(story.problems[0].cause, HasSubstr(row.cause));
        EXPECT_EQ(story.problems[0].times, 2);
        EXPECT_EQ(story.problems[0].first.where, "host.log:3");
    }
}

TEST(ExplainTest, ProductThatIsNotInstalledIsWhyThereIsNoTask) {
    const Story story = CLog()
                            .Add(2,
                                 "Connector was deactivated. No tasks will be processed and no "
                                 "logs will be produced.")
                            .Told();
    EXPECT_THAT(Why(story, kFirst),
                HasSubstr("the product was not installed when the host started"));
}

TEST(ExplainTest, ProblemOfBeforeIsNotWhyAnInactiveConnectorHasNoTask) {
    const Story story = CLog()
                            .Connected()
                            .Add(4, "Policy is damaged: unexpected end")
                            .Add(2,
                                 "Connector was deactivated. No tasks will be processed and no "
                                 "logs will be produced.")
                            .Told();
    EXPECT_THAT(Why(story, kFirst),
                HasSubstr("the product was not installed when the host started"));
}

TEST(ExplainTest, ConnectorThatWasInactiveAndIsStartedAnewIsActive) {
    const Story story = CLog()
                            .Add(2,
                                 "Connector was deactivated. No tasks will be processed and no "
                                 "logs will be produced.")
                            .Connected()
                            .Told();
    EXPECT_THAT(Why(story, kFirst), HasSubstr("the host has not given it to the connector"));
}

TEST(ExplainTest, ReasonWhyConnectingFailsStandsBehindItsText) {
    const Story story = CLog()
                            .Add(2, "Connecting to product")
                            .Add(4,
                                 "Starting TULK OVANTA Connector connector module failed with: "
                                 "The registered product build is no 32-bit number")
                            .Told();
    EXPECT_EQ(story.outages.at(0).cause,
              "the product is registered with a build that is no number");
}

TEST(ExplainTest, LineOfAnotherHostIsReadFromTheConnectorsNameOn) {
    HostLog log;
    std::istringstream input(
        "2026-11-23 [info] COvAgentConnectorModule: Connecting to product\r\n"
        "4 COvAgentConnectorModule: Policy is damaged: content does not parse\n"
        "something else\n");
    ReadHostLog(input, "host.log", log);
    const Story story = Tell(log);
    EXPECT_EQ(story.lines, 2U);
    EXPECT_EQ(story.others, 1U);
    EXPECT_TRUE(story.connecting);
    EXPECT_THAT(story.problems, SizeIs(1));
}

TEST(ExplainTest, NothingOfAHostileLogIsShown) {
    const std::string canary = "CANARY";
    const std::string hostile = "\x1b[31m" + canary + "%s%n\x9b\xff\xfe\r";
    HostLog log;
    CLog lines;
    lines.Connected()
        .Kill(hostile + ";" + hostile + ";" + hostile)
        .Add(4, "CKelcommChannel: Send request failed with " + hostile)
        .Add(2, "Reconnecting to product")
        .Add(4, hostile)
        .Add(4, "Policy is damaged: " + hostile)
        .Add(1, "Protection status log raw content: " + hostile)
        .Add(4, "Message task was canceled because maximum retry count was reached, message was: " +
                    hostile)
        .AddLine("symbols type=10368 2842-task-first=" + canary + " 2848-outcome=" + canary);
    const Story story = lines.Told();
    for (const std::string& shown : {InText(story), ToJson(story)}) {
        EXPECT_THAT(shown, Not(HasSubstr(canary)));
        for (const char sign : shown) {
            EXPECT_TRUE(sign == '\n' || (sign >= ' ' && sign <= '~'))
                << static_cast<int>(static_cast<unsigned char>(sign));
        }
    }
    EXPECT_THAT(story.tasks.at(0).identifiers, ElementsAre("(no UUID)", "(no UUID)", "(no UUID)"));
}

TEST(ExplainTest, NameOfAFileIsShownSafely) {
    HostLog log;
    std::istringstream input("COvAgentConnectorModule: Policy is damaged: x\n");
    ReadHostLog(input, "a\x1b]0;b\nc", log);
    EXPECT_EQ(Tell(log).problems.at(0).first.where, "a?]0;b?c:1");
}

TEST(ExplainTest, LineThatIsTooLongIsCountedAndTheNextIsRead) {
    HostLog log;
    std::istringstream input(std::string(5 * 1024 * 1024, 'x') +
                             "\nCOvAgentConnectorModule: Connecting to product\n");
    ReadHostLog(input, "host.log", log);
    EXPECT_EQ(log.tooLong, 1U);
    EXPECT_EQ(log.lines.at(0).number, 2U);
}

TEST(ExplainTest, GarbageIsNobodysLine) {
    HostLog log;
    std::istringstream input(std::string("\0\x01\x02\n\n\xff\xfe\nCOvAgentConnectorModule\n", 30));
    ReadHostLog(input, "host.log", log);
    EXPECT_THAT(log.lines, IsEmpty());
    EXPECT_EQ(log.others, 4U);
    EXPECT_FALSE(Tell(log).IsFine());  // it says nothing of the connector
}

TEST(ExplainTest, FileThatIsNotThereIsAnError) {
    HostLog log;
    EXPECT_THROW(ReadHostLogFile("no such file", log), std::runtime_error);
    EXPECT_THROW(ReadHostLogFile(".", log), std::runtime_error);
}

TEST(ExplainTest, JsonTellsWhatTheTextTells) {
    const auto story =
        CLog().Connected().Kill().Add(4, "CKelcommChannel: Reply header has wrong size").Told();
    const auto json = nlohmann::json::parse(ToJson(story));
    EXPECT_EQ(json["fine"], false);
    EXPECT_EQ(json["tasks"][0]["state"], "failed, and is not tried again");
    EXPECT_EQ(json["tasks"][0]["cause"], "a reply of the product is of another protocol");
    EXPECT_EQ(json["tasks"][0]["identifiers"][2], kThird);
    EXPECT_EQ(json["connected"][0]["where"], "host.log:2");
}

}  // namespace
}  // namespace Kyr::Probe
