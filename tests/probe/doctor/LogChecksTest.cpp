#include <fstream>
#include <gmock/gmock.h>

#include "probe/doctor/LogChecks.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Probe {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

constexpr std::chrono::nanoseconds kNow = std::chrono::seconds(100);

class LogChecksTest : public testing::Test {
  protected:
    /// A line that was written 100 s less `at` ago.
    void Write(const std::string& text, int at = 40) {
        std::ofstream(path_, std::ios::app | std::ios::binary)
            << "12:00:00.000 log level=4 source=COvAgentConnector text=\"" << text << "\" at=" << at
            << "000000000\n";
    }

    void WriteRaw(const std::string& bytes) {
        std::ofstream(path_, std::ios::app | std::ios::binary) << bytes;
    }

    std::vector<std::string> Lines() {
        Checks checks;
        CheckLog(path_, kNow, checks);
        std::vector<std::string> lines;
        for (const Check& check : checks) {
            lines.push_back(std::string(NameOf(check.verdict)) + ' ' + check.name + ": " +
                            check.why);
        }
        return lines;
    }

    const Kyr::Test::CTemporaryFolder folder_;
    const std::string path_ = folder_.File("host.log");
};

TEST_F(LogChecksTest, QuietLogIsFineAndHasAnAge) {
    Write("Connected to product, processing tasks");
    EXPECT_THAT(Lines(), ElementsAre("fine host's log: 1 line, the last one 60 s ago",
                                     "fine last change of the area: none that the log tells of",
                                     "fine log problems: none at its end"));
}

TEST_F(LogChecksTest, LastChangeIsTheLastOfAll) {
    Write("Received broadcast 2", 10);
    Write("Received broadcast 8", 90);
    EXPECT_THAT(Lines(), Contains("fine last change of the area: value 8, noticed 10 s ago"));
}

TEST_F(LogChecksTest, StampOfAnEarlierLifeOfTheMachineIsNoAge) {
    Write("Received broadcast 2", 101);
    EXPECT_THAT(Lines(),
                Contains("fine last change of the area: value 2, at a time that the log does not "
                         "tell"));
}

TEST_F(LogChecksTest, SameProblemIsCounted) {
    Write("CKelcommChannel: Send request failed with 7");
    Write("CKelcommChannel: Send request failed with 7");
    Write("CKelcommChannel: Send request failed with 8");
    EXPECT_THAT(
        Lines(),
        Contains("doubtful log: the product has refused with status 7: it does not know the "
                 "request, as one that is older than the task, or does not take it, 2 times"));
    EXPECT_THAT(Lines(),
                Contains(StartsWith("doubtful log: the product has refused with status 8:")));
}

TEST_F(LogChecksTest, ProblemBeforeTheLastConnectionIsOver) {
    Write("Ping failed -> COvAgentConnector will be restarted: 1");
    Write("Connected to product, processing tasks");
    EXPECT_THAT(Lines(), Contains("fine log problems: none at its end"));
}

TEST_F(LogChecksTest, PolicyThatWasRefusedBeforeTheLastConnectionIsNotOver) {
    Write("Set policy failed: whatever");
    Write("Connected to product, processing tasks");
    EXPECT_THAT(Lines(), Contains("doubtful log: the product has refused the policy"));
}

TEST_F(LogChecksTest, LogOfAnotherHostIsReadAndHasNoAge) {
    WriteRaw(
        "2026-11-23 COvAgentConnectorModule: Received broadcast 8\n"
        "2026-11-23 COvAgentConnectorModule: Policy is damaged: whatever\n");
    EXPECT_THAT(Lines(),
                ElementsAre("fine host's log: 2 lines",
                            "fine last change of the area: value 8, at a time that the log does "
                            "not tell",
                            "doubtful log: the policy that came from the server is damaged"));
}

TEST_F(LogChecksTest, TextInTheMiddleOfALineOfSomebodyElseIsNoProblem) {
    Write("Connected to product, processing tasks");
    Write("XML request: <Policy is damaged: Ping failed, bad lexical cast>");
    WriteRaw("12:00:00.000 log level=4 source=Another text=\"Policy is damaged: x\" at=1\n");
    EXPECT_THAT(Lines(), Contains("fine log problems: none at its end"));
}

TEST_F(LogChecksTest, OnlyTheLastFourMebibytesAreRead) {
    Write("Policy is damaged: long ago");
    WriteRaw(std::string(std::size_t{4} << 20, '\n'));
    Write("Received broadcast 2");
    EXPECT_THAT(Lines(), Contains("fine log problems: none at its end"));
}

TEST_F(LogChecksTest, LinesOfOthersArePassedOver) {
    WriteRaw(std::string("\0\xff\n", 3) + "kernel: \"\n");
    Write("Set policy failed: whatever");
    WriteRaw("12:00:00.000 log level=4 text=\"cut");
    EXPECT_THAT(Lines(), Contains("doubtful log: the product has refused the policy"));
}

TEST_F(LogChecksTest, RequestThatWasNotAnsweredForLongIsWrong) {
    Write("Sending kill process by pid request to product", 69);
    Write("XML request: <x />", 70);
    EXPECT_THAT(Lines(),
                Contains("wrong unanswered request: kill a process, asked 30 s ago: nothing "
                         "in the log says that the product has answered: it hangs at this "
                         "request, or the host has ended"));
}

TEST_F(LogChecksTest, RequestOfAMomentAgoIsNothing) {
    Write("Sending kill process by pid request to product", 70);
    Write("XML request: <x />", 71);
    EXPECT_THAT(Lines(), Contains("fine log problems: none at its end"));
    EXPECT_THAT(Lines(), testing::Each(StartsWith("fine ")));
}

TEST_F(LogChecksTest, UnansweredRequestOfUnknownAgeIsDoubtful) {
    WriteRaw(
        "COvAgentConnectorModule: Sending kill process by pid request to product\n"
        "COvAgentConnectorModule: XML request: <x />\n");
    EXPECT_THAT(Lines(), Contains(StartsWith("doubtful unanswered request: kill a process: ")));
}

TEST_F(LogChecksTest, TaskThatNobodyTriesAgainIsWrong) {
    Write("Connected to product, processing tasks");
    Write(
        "Message task was canceled because product is not available, message was: "
        "KillProcessByPid");
    EXPECT_THAT(Lines(), Contains(StartsWith("wrong task: kill a process: given up")));
}

TEST_F(LogChecksTest, EmptyLogIsCalledSo) {
    WriteRaw("");
    EXPECT_THAT(Lines(), ElementsAre("doubtful host's log: it is empty: the connector has written "
                                     "nothing"));
}

TEST_F(LogChecksTest, FileOfOthersIsDoubtful) {
    WriteRaw("one\ntwo\n");
    EXPECT_THAT(Lines(), ElementsAre("doubtful host's log: no line of it is a host's, of 2"));
}

}  // namespace
}  // namespace Kyr::Probe
