#include <fstream>
#include <gmock/gmock.h>

#include "probe/doctor/LogChecks.h"
#include "probe/doctor/LogProblems.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Probe {
namespace {

using testing::Contains;
using testing::ElementsAre;

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
    EXPECT_THAT(Lines(), ElementsAre("fine host's log: 1 lines, the last one 60 s ago",
                                     "fine last change of the area: none that the log tells of",
                                     "fine log problems: none since the last connection"));
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
    EXPECT_THAT(Lines(),
                Contains("doubtful log: the product refused a request, with status 7, 2 times"));
    EXPECT_THAT(Lines(), Contains("doubtful log: the product refused a request, with status 8"));
}

TEST_F(LogChecksTest, ProblemBeforeTheLastConnectionIsOver) {
    Write("Ping failed -> COvAgentConnector will be restarted: 1");
    Write("Connected to product, processing tasks");
    EXPECT_THAT(Lines(), Contains("fine log problems: none since the last connection"));
}

TEST_F(LogChecksTest, LinesOfOthersArePassedOver) {
    WriteRaw(std::string("\0\xff\n", 3) + "kernel: \"\n");
    Write("Set policy failed: whatever");
    WriteRaw("12:00:00.000 log level=4 text=\"cut");
    EXPECT_THAT(Lines(), Contains("doubtful log: the product refused a policy"));
}

TEST_F(LogChecksTest, FileOfOthersIsDoubtful) {
    WriteRaw("one\ntwo\n");
    EXPECT_THAT(Lines(), ElementsAre("doubtful host's log: none of its 2 lines is a host's"));
}

TEST(LogProblemsTest, MoreParticularTextIsFoundFirst) {
    const std::string refused = "CKelcommChannel: Send request failed with ";
    const LogProblem* const administrator = FindLogProblem(refused + "14, Command failed");
    ASSERT_NE(administrator, nullptr);
    EXPECT_STREQ(administrator->meaning, "the product wants an administrator");
    const LogProblem* const connecting = FindLogProblem(
        "Starting TULK OVANTA Connector connector module failed with: " + refused + "7");
    ASSERT_NE(connecting, nullptr);
    EXPECT_NE(connecting, FindLogProblem(refused + "7"));
    EXPECT_EQ(NumberBehind(*connecting, "connector module failed with: " + refused + "7, a"), "7");
}

TEST(LogProblemsTest, AdministratorIsWantedAlsoWhileConnectingAndByOneStatusOnly) {
    const std::string refused = "CKelcommChannel: Send request failed with ";
    const LogProblem* const connecting = FindLogProblem(
        "Starting TULK OVANTA Connector connector module failed with: " + refused +
        "14, Command failed - Make sure that Agent runs with Administrator privileges.");
    ASSERT_NE(connecting, nullptr);
    EXPECT_STREQ(connecting->meaning, "the product wants an administrator");
    const LogProblem* const other = FindLogProblem(refused + "140");
    ASSERT_NE(other, nullptr);
    EXPECT_STREQ(other->meaning, "the product refused a request, with status");
}

TEST(LogProblemsTest, LineThatTellsOfNoneIsNone) {
    EXPECT_EQ(FindLogProblem("Received broadcast 8"), nullptr);
    EXPECT_EQ(FindLogProblem(""), nullptr);
}

}  // namespace
}  // namespace Kyr::Probe
