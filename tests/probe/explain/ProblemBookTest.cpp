#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/probe/explain/LoggedLife.h"

namespace Kyr::Probe {
namespace {

using namespace Kyr::Probe::Test;
using namespace testing;

TEST(ProblemBookTest, ProblemIsNamedByWhatIsBehindIt) {
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
        const Story story = CLoggedLife().Connected().Add(4, row.line).Add(4, row.line).Told();
        ASSERT_THAT(story.problems, SizeIs(1)) << row.line;
        EXPECT_THAT(story.problems[0].cause, HasSubstr(row.cause));
        EXPECT_EQ(story.problems[0].times, 2);
        EXPECT_EQ(story.problems[0].first.where, "host.log:3");
    }
}

std::vector<std::string> OpenIn(const Story& story) {
    std::vector<std::string> causes;
    for (const ProblemStory& problem : story.Open()) {
        causes.push_back(problem.cause);
    }
    return causes;
}

TEST(ProblemBookTest, ConnectionEndsWhatStoodInItsWay) {
    CLoggedLife life;
    life.Connected().Add(3, kPingFailed).Add(4, kPortGone).Reconnecting();
    EXPECT_THAT(OpenIn(life.Told()),
                ElementsAre(HasSubstr("no exchange with the product, code 1")));
    life.Add(1, "Protection status log raw content: <x>");
    EXPECT_THAT(OpenIn(life.Told()), IsEmpty());
}

TEST(ProblemBookTest, ConnectionDoesNotEndWhatItCannotMend) {
    constexpr const char* kLines[] = {
        "bad lexical cast: source type value could not be interpreted as target",
        "Task log: Log record has badly formated uuids in user data",
        "Policy is damaged: not a compressed blob",
        "Policy is not sent: it is larger than 67108864 bytes",
        "Set policy failed: no",
        "OV Remediation: Failed to store with batch size: 2",
        "Failed to get ECS telemetry logs from OVANTA Connector with code: 9",
        "Error during checking for new broadcast messages: CKelcommChannel: Get broadcast failed",
        "CWinOvGetEcsTelemetryLogsTask: payload ends early, 3 records read",
        "OV rule actions flag is not a bool, disabling rule actions propagation",
    };
    for (const char* const line : kLines) {
        const Story story = CLoggedLife()
                                .Connected()
                                .Add(4, line)
                                .Reconnecting()
                                .Connected()
                                .Add(1, "Publishing ECS indicator logs")
                                .Told();
        EXPECT_THAT(OpenIn(story), SizeIs(1)) << line;
    }
}

TEST(ProblemBookTest, LineThatShowsItMendedEndsAProblem) {
    struct Row {
        const char* problem;
        const char* end;
    };
    constexpr Row kRows[] = {
        {"Policy is not sent: it is larger than 67108864 bytes", kPolicyTaken},
        {"Set policy failed: no", kPolicyTaken},
        {"OV Remediation: Failed to store with batch size: 2",
         "Empty response received from OV Connector"},
        {"No block actions received from OV Connector",
         "Empty response received from OV Connector"},
        {"Failed to get ECS indicator logs from OVANTA Connector with code: 9",
         "Publishing ECS indicator logs"},
        {"Failed to get ECS telemetry logs from OVANTA Connector with code: 9",
         "Empty telemetry logs response received from OVANTA Connector"},
        {"Error during checking for new broadcast messages: x", "Received broadcast 2"},
        {"Error during checking for new ECS logs: x", "Publishing ECS telemetry logs"},
        {"Unknown protection status", "Protection status log raw content: <x>"},
    };
    for (const Row& row : kRows) {
        CLoggedLife life;
        life.Connected().Add(4, row.problem);
        EXPECT_THAT(OpenIn(life.Told()), SizeIs(1)) << row.problem;
        EXPECT_THAT(OpenIn(life.Add(2, row.end).Told()), IsEmpty()) << row.problem;
        EXPECT_THAT(OpenIn(life.Add(4, row.problem).Told()), SizeIs(1)) << row.problem;
    }
}

TEST(ProblemBookTest, DamagedPolicyThatIsTakenStaysDamagedUntilAWholeOneIsTaken) {
    CLoggedLife life;
    life.Connected().Add(4, "Policy is damaged: not a compressed blob").Add(2, kPolicyTaken);
    EXPECT_THAT(OpenIn(life.Told()), ElementsAre(HasSubstr("is damaged")));
    life.Add(2, kPolicyTaken);
    EXPECT_THAT(OpenIn(life.Told()), IsEmpty());
}

TEST(ProblemBookTest, LineThatATaskBehindAPolicyCausesIsNoPolicy) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Add(4, "Policy is damaged: not a compressed blob")
                            .Add(2, kPolicyTaken)
                            .Kill()
                            .Add(2, kPolicyTaken)
                            .Told();
    EXPECT_THAT(OpenIn(story), ElementsAre(HasSubstr("is damaged")));
}

TEST(ProblemBookTest, RefusedPolicyIsOverWhenItGetsThroughAndNotByANewStart) {
    CLoggedLife refused;
    refused.Connected()
        .Add(4, "CKelcommChannel: Send request failed with 7")
        .Reconnecting()
        .Add(3, "CKelcommChannel: Send request failed with 7")
        .Add(4, std::string(kConnectingFails) + "CKelcommChannel: Send request failed with 7");
    EXPECT_THAT(OpenIn(refused.Told()),
                Contains(HasSubstr("a policy of a wrong version, for example; its status is 7")));
    CLoggedLife taken = refused;
    taken.Reconnecting().Add(2, kPolicyTaken).Add(2, kPolicyTaken);
    EXPECT_THAT(OpenIn(taken.Told()), IsEmpty());
    refused.Connected();
    EXPECT_THAT(OpenIn(refused.Told()), ElementsAre(HasSubstr("its status is 7")));
    EXPECT_THAT(OpenIn(refused.Add(2, kPolicyTaken).Told()), IsEmpty());
}

TEST(ProblemBookTest, RequestThatGetsThroughBehindAConnectionIsOver) {
    CLoggedLife life;
    life.Connected().Add(4, kRefused).Reconnecting();
    EXPECT_THAT(OpenIn(life.Told()), SizeIs(1));
    life.Add(1, "Protection status log raw content: <x>");
    EXPECT_THAT(OpenIn(life.Told()), IsEmpty());
}

TEST(ProblemBookTest, RequestThatWasGivenUpIsOpenUntilAllWasAskedForAgain) {
    CLoggedLife life;
    life.Connected()
        .Add(4, kRefused)
        .Reconnecting()
        .Add(4, kRefused)
        .Reconnecting()
        .Add(4, std::string(kRetriesExhausted) + "OvAgentRequest")
        .Add(1, "Publishing ECS indicator logs");
    EXPECT_THAT(OpenIn(life.Told()), SizeIs(2));
    EXPECT_THAT(OpenIn(life.Add(2, "Regular resending of all requests").Told()), SizeIs(2));
    EXPECT_THAT(OpenIn(life.Add(2, "Regular resending of all requests").Told()), IsEmpty());
}

TEST(ProblemBookTest, TaskThatWasGivenUpIsOpenUntilItIsAskedForAgain) {
    CLoggedLife life;
    life.Connected()
        .Kill()
        .Add(4, kRefused)
        .Reconnecting()
        .Kill()
        .Add(4, kRefused)
        .Reconnecting()
        .Add(4, std::string(kRetriesExhausted) + "KillProcessByPid")
        .Connected()
        .Add(1, "Publishing ECS indicator logs");
    EXPECT_THAT(OpenIn(life.Told()),
                ElementsAre("kill a process: given up: it failed twice; the last time: the product "
                            "has refused with status 3: it does not know the request, as one that "
                            "is older than the task, or does not take it"));
    EXPECT_THAT(OpenIn(life.Kill().Add(1, "Publishing ECS indicator logs").Told()), IsEmpty());
}

TEST(ProblemBookTest, CauseOfAnOutageIsOpenOnce) {
    const Story story =
        CLoggedLife()
            .Connected()
            .Reconnecting()
            .Add(4, std::string(kConnectingFails) + "CKelcommChannel: Send request failed with 7")
            .Told();
    EXPECT_THAT(story.problems, SizeIs(1));
    EXPECT_THAT(OpenIn(story), ElementsAre(HasSubstr("its status is 7")));
    EXPECT_EQ(story.Open().at(0).times, 1);
}

TEST(ProblemBookTest, InactiveConnectorIsOverWhenItIsStartedAnew) {
    CLoggedLife life;
    life.Add(2, kInactive);
    EXPECT_THAT(OpenIn(life.Told()), ElementsAre(HasSubstr("was not installed")));
    EXPECT_THAT(OpenIn(life.Connected().Told()), IsEmpty());
}

TEST(ProblemBookTest, ConnectorThatIsNotConnectedYetIsOpen) {
    EXPECT_THAT(OpenIn(CLoggedLife().Add(2, "Connecting to product").Told()),
                ElementsAre("not connected: the log ends before the product has answered"));
}

TEST(ProblemBookTest, NumbersOfAHostileLogMakeNoMoreThanAHundredProblems) {
    CLoggedLife life;
    for (int status = 1000; status < 1150; ++status) {
        life.Add(4, "CKelcommChannel: Send request failed with " + std::to_string(status));
    }
    EXPECT_THAT(life.Told().problems, SizeIs(100));
}

TEST(ProblemBookTest, PolicyThatWasGivenUpIsOpenUntilOneIsTaken) {
    CLoggedLife life;
    life.Add(2, "Connecting to product")
        .Add(4, "Product is not available, canceling tasks")
        .Add(4,
             "Message task was canceled because product is not available, message was: "
             "ApplyPolicy")
        .Connected();
    EXPECT_THAT(OpenIn(life.Told()), ElementsAre(StartsWith("a policy was given up: ")));
    EXPECT_THAT(OpenIn(life.Add(2, kPolicyTaken).Told()), IsEmpty());
}

TEST(ProblemBookTest, FailureOfATaskThatTheLogNamesLateIsToldWithTheTask) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Add(4, kRefused)
                            .Reconnecting()
                            .Add(4, kRefused)
                            .Reconnecting()
                            .Add(4, std::string(kRetriesExhausted) + "RequestConfiguration")
                            .Told();
    EXPECT_THAT(OpenIn(story), ElementsAre(StartsWith("export the configuration: given up: it "
                                                      "failed twice; the last time: ")));
}

}  // namespace
}  // namespace Kyr::Probe
