// Real processes, by the launcher of this platform.
#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/simproduct/processes/Process.h"

namespace Kyr::Lab::SimProduct {
namespace {

class SystemProcessTest : public ::testing::Test {
  protected:
    const std::unique_ptr<IProcessLauncher> launcher_ = MakeSystemLauncher();
};

TEST_F(SystemProcessTest, ProcessIsKilledOnlyOnceAlsoOneThatWasAdopted) {
    const auto process = launcher_->Launch(KYR_VICTIM, {"target", "--seconds=60"});
    const auto adopted = launcher_->Adopt(KYR_VICTIM, process->Pid());

    EXPECT_GT(process->Pid(), 1u);
    EXPECT_EQ(process->Pid(), adopted->Pid());
    EXPECT_TRUE(adopted->Kill());
    adopted->Wait();
    EXPECT_FALSE(adopted->Kill());
    process->Wait();
    EXPECT_FALSE(process->Kill());
}

TEST_F(SystemProcessTest, ProcessEndsByItself) {
    const auto process = launcher_->Launch(KYR_VICTIM, {"--seconds=0"});

    process->Wait();

    EXPECT_FALSE(process->Kill());
}

TEST_F(SystemProcessTest, ProcessOfAnotherProgramIsNotAdopted) {
    EXPECT_THROW(launcher_->Adopt(KYR_VICTIM, OwnProcessId()), std::runtime_error);
}

TEST_F(SystemProcessTest, NumberWithoutAProcessIsNotAdopted) {
    const auto process = launcher_->Launch(KYR_VICTIM, {"--seconds=0"});
    process->Wait();

    EXPECT_THROW(launcher_->Adopt(KYR_VICTIM, process->Pid()), std::runtime_error);
    EXPECT_THROW(launcher_->Adopt(KYR_VICTIM, 0), std::runtime_error);
    EXPECT_THROW(launcher_->Adopt(KYR_VICTIM, 0x100000001), std::runtime_error);
}

TEST_F(SystemProcessTest, ProgramThatIsNotThereIsAnError) {
    EXPECT_THROW(launcher_->Launch("/no/such/program", {}), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
