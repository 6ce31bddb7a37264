// What the judge of all worlds says of a host that collects nothing.
#include <csignal>
#include <gmock/gmock.h>

#include "lab/crashtest/CrashTest.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::CrashTest {
namespace {

using ::testing::Contains;
using ::testing::StartsWith;

class CrashTestTest : public ::testing::Test {
  protected:
    /// As in the program: a command to a host that has ended is lost, and that is all.
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); }

    /// Every host ends in that way at once: an exit code or "killed".
    std::vector<std::string> ProblemsWithHostThatEnds(const std::string& way) {
        CrashPlan plan;
        plan.programs = {KYR_SIMPRODUCT, KYR_FRAIL_HOST, "", {"--end=" + way}};
        plan.work = folder_.Path();
        plan.randomKills = 2;
        plan.bothKills = 1;
        plan.productKills = 2;
        return CrashTest::Run(plan).problems;
    }

    const Kyr::Test::CTemporaryFolder folder_;
};

TEST_F(CrashTestTest, HostThatEndsByItselfFailsAtTheFirstStep) {
    EXPECT_THAT(ProblemsWithHostThatEnds("42"),
                Contains("steps: the host was not killed, it ended with 42"));
}

TEST_F(CrashTestTest, HostThatEndsByItselfFailsInEveryWorld) {
    const auto problems = ProblemsWithHostThatEnds("42");
    EXPECT_THAT(problems, Contains(StartsWith("random: the host has ended by itself")));
    EXPECT_THAT(problems, Contains(StartsWith("product-1: the host has ended by itself")));
    EXPECT_THAT(problems, Contains(StartsWith("product-2: the host has ended by itself")));
}

TEST_F(CrashTestTest, KillsThatMeetNoBatchInFlightShowNothing) {
    EXPECT_THAT(ProblemsWithHostThatEnds("killed"),
                Contains("steps: indicator: no kill at a step met a batch in flight"));
}

}  // namespace
}  // namespace Kyr::Lab::CrashTest
