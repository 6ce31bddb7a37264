// What the judge of all worlds says of a host that collects nothing.
#include <gmock/gmock.h>

#include "lab/crashtest/CrashTest.h"
#include "tests/lab/runner/ParrotFolder.h"

namespace Kyr::Lab::CrashTest {
namespace {

using ::testing::Contains;
using ::testing::StartsWith;

class CrashTestTest : public ::testing::Test {
  protected:
    CrashTestTest() {
        boost::filesystem::remove(folder_.Program("simproduct"));
        boost::filesystem::create_symlink(KYR_SIMPRODUCT, folder_.Program("simproduct"));
    }

    /// Every host is a parrot that obeys this line.
    std::vector<std::string> ProblemsWithHostThatObeys(const std::string& line) {
        CrashPlan plan;
        plan.stage.programs = folder_.Path();
        plan.stage.hostOptions = {"--obey=" + line};
        plan.randomKills = 2;
        plan.bothKills = 1;
        plan.productKills = 2;
        return CrashTest::Run(plan, Runner::CWorkFolder(folder_.File("work"))).problems;
    }

    const Runner::CParrotFolder folder_;
};

TEST_F(CrashTestTest, HostThatEndsByItselfFailsInEveryWorld) {
    const auto problems = ProblemsWithHostThatObeys("end 42");
    EXPECT_THAT(problems, Contains("steps: the host was not killed, it ended with 42"));
    EXPECT_THAT(problems, Contains(StartsWith("random: the host has ended by itself")));
    EXPECT_THAT(problems, Contains(StartsWith("product-1: the host has ended by itself")));
    EXPECT_THAT(problems, Contains(StartsWith("product-2: the host has ended by itself")));
}

TEST_F(CrashTestTest, KillsThatMeetNoBatchInFlightShowNothing) {
    EXPECT_THAT(ProblemsWithHostThatObeys("die"),
                Contains("steps: indicator: no kill at a step met a batch in flight"));
}

}  // namespace
}  // namespace Kyr::Lab::CrashTest
