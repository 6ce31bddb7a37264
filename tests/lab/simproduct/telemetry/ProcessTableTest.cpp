// The processes of this very computer.
#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

#include "lab/simproduct/processes/Process.h"
#include "lab/simproduct/telemetry/ProcessTable.h"

namespace Kyr::Lab::SimProduct {
namespace {

class ProcessTableTest : public ::testing::Test {
  protected:
    std::optional<ProcessId> Find(std::uint64_t pid) {
        const std::vector<ProcessId> list = table_->List();
        const auto found = std::find_if(list.begin(), list.end(),
                                        [&](const ProcessId& id) { return id.pid == pid; });
        return found == list.end() ? std::nullopt : std::optional(*found);
    }

    const std::unique_ptr<IProcessLauncher> launcher_ = MakeSystemLauncher();
    const std::unique_ptr<IProcessTable> table_ = MakeSystemProcessTable();
};

TEST_F(ProcessTableTest, RunningProcessIsDescribed) {
    const auto victim = launcher_->Launch(KYR_VICTIM, {"--seconds=60"});
    const std::optional<ProcessId> id = Find(victim->Pid());
    ASSERT_TRUE(id);

    const std::optional<ProcessFacts> facts = table_->Describe(*id);

    ASSERT_TRUE(facts);
    EXPECT_EQ(OwnProcessId(), facts->parentPid);
    EXPECT_EQ(std::string("victim") + KYR_PROGRAM_SUFFIX, facts->name);
    EXPECT_TRUE(std::filesystem::equivalent(KYR_VICTIM, facts->executable)) << facts->executable;
    EXPECT_TRUE(std::filesystem::equivalent(KYR_VICTIM, facts->image)) << facts->image;
    EXPECT_FALSE(facts->userId.empty());
    victim->Kill();
    victim->Wait();
}

TEST_F(ProcessTableTest, EndedProcessIsGone) {
    const auto victim = launcher_->Launch(KYR_VICTIM, {"--seconds=60"});
    const std::optional<ProcessId> id = Find(victim->Pid());
    ASSERT_TRUE(id);
    victim->Kill();
    victim->Wait();

    EXPECT_FALSE(Find(id->pid));
    EXPECT_FALSE(table_->Describe(*id));
}

TEST_F(ProcessTableTest, ProcessOfAnotherStartIsNotDescribed) {
    std::optional<ProcessId> id = Find(OwnProcessId());
    ASSERT_TRUE(id);
    ++id->start;

    EXPECT_FALSE(table_->Describe(*id));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
