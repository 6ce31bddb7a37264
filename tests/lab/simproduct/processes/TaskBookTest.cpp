#include <gmock/gmock.h>

#include "lab/simproduct/processes/TaskBook.h"
#include "tests/lab/simproduct/ProductFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

class ProductTest : public ProductFixture {
  protected:
    void ExpectLastTask(TaskState state, const std::string& text) {
        ASSERT_FALSE(product_.TaskLog().empty());
        EXPECT_EQ(state, product_.TaskLog().back().state);
        EXPECT_EQ(text, product_.TaskLog().back().text);
    }

    bool IsRunning(std::uint64_t pid) {
        const auto process = processes_.Find(pid);
        return process && process->running;
    }
};

TEST_F(ProductTest, KillEndsALabProcess) {
    StartOne();

    product_.KillProcess("1000", {}, "a;b;c");
    processes_.EndAll();

    EXPECT_THAT(lines_.Take(),
                ElementsAre("did action=kill pid=1000 outcome=done text=killed userdata=a;b;c",
                            "ended pid=1000 name=one by=kill-request"));
    ASSERT_EQ(1u, product_.TaskLog().size());
    EXPECT_EQ(1u, product_.TaskLog()[0].number);
    EXPECT_EQ("KILL_PROCESS_BY_PID", product_.TaskLog()[0].function);
    EXPECT_EQ("a;b;c", product_.TaskLog()[0].userData);
    ExpectLastTask(TaskState::kDone, "killed");
}

TEST_F(ProductTest, KillOfAStrangerIsRefusedAndNoted) {
    StartOne();

    product_.KillProcess("1", {}, "a;b;c");

    EXPECT_THAT(lines_.Take(), ElementsAre("did action=kill pid=1 outcome=refused text=\"not a lab "
                                           "process\" userdata=a;b;c"));
    ExpectLastTask(TaskState::kRefused, "not a lab process");
    EXPECT_TRUE(IsRunning(1000));
}

TEST_F(ProductTest, KillOfAnEndedProcessIsRefused) {
    StartOne();
    processes_.EndAll();

    product_.KillProcess("1000", {}, "");

    ExpectLastTask(TaskState::kRefused, "ended before");
}

TEST_F(ProductTest, KillWithTheProgramsHashesInAnyCaseIsDone) {
    StartOne();

    product_.KillProcess("1000", {"A9993E364706816ABA3E25717850C26C9CD0D89D", kSha256}, "");

    ExpectLastTask(TaskState::kDone, "killed");
}

TEST_F(ProductTest, KillWithAnotherProgramsHashIsRefused) {
    StartOne();

    product_.KillProcess("1000", {kSha1, std::string(64, '0')}, "");

    ExpectLastTask(TaskState::kRefused, "another program has that hash");
    EXPECT_TRUE(IsRunning(1000));
}

TEST_F(ProductTest, EmptyHashesSayNothing) {
    StartOne();

    product_.KillProcess("1000", {"", ""}, "");

    ExpectLastTask(TaskState::kDone, "killed");
}

TEST_F(ProductTest, KillWithoutAReadableNumberIsRefused) {
    product_.KillProcess(std::nullopt, {}, "");
    ExpectLastTask(TaskState::kRefused, "no process id");
    product_.KillProcess("12x", {}, "");
    ExpectLastTask(TaskState::kRefused, "no process id");
}

TEST_F(ProductTest, LargestProcessNumberIsLookedUpWhole) {
    product_.KillProcess("18446744073709551615", {}, "");

    ExpectLastTask(TaskState::kRefused, "not a lab process");
}

TEST_F(ProductTest, BlockedSha256KeepsAProgramFromStarting) {
    product_.BlockExecutable({std::nullopt, kSha256}, true, "a;b;c");

    EXPECT_THAT(lines_.Take(),
                ElementsAre("did action=block sha1=\"\" sha256=" + std::string(kSha256) +
                            " delete=yes outcome=done text=blocked userdata=a;b;c"));
    ExpectLastTask(TaskState::kDone, "blocked");
    try {
        product_.Start("one", program_, {});
        FAIL() << "started";
    } catch (const std::runtime_error& refused) {
        EXPECT_STREQ("blocked", refused.what());
    }
    EXPECT_TRUE(launcher_.launches.empty());
}

TEST_F(ProductTest, BlockedSha1AloneIsEnough) {
    product_.BlockExecutable({"A9993E364706816ABA3E25717850C26C9CD0D89D", std::nullopt}, false, "");

    EXPECT_THROW(product_.Start("one", program_, {}), std::runtime_error);
}

TEST_F(ProductTest, OtherHashesBlockNothing) {
    product_.BlockExecutable({std::string(40, '0'), std::string(64, '0')}, false, "");

    EXPECT_EQ(1000u, product_.Start("one", program_, {}).pid);
}

TEST_F(ProductTest, BlockWithoutAHashIsRefused) {
    product_.BlockExecutable({"", std::nullopt}, false, "");

    ExpectLastTask(TaskState::kRefused, "no hash");
    EXPECT_TRUE(product_.Blocked().empty());
}

TEST_F(ProductTest, BlockingLeavesRunningProcessesAlone) {
    StartOne();

    product_.BlockExecutable({kSha1, kSha256}, true, "");

    EXPECT_TRUE(IsRunning(1000));
    EXPECT_TRUE(std::ifstream(program_).good());
}

TEST_F(ProductTest, OutcomesWaitAsResultsWithTheTasksUserData) {
    StartOne();

    product_.KillProcess("1000", {}, "a;b;c");
    product_.KillProcess("1", {}, "d;e;f");
    product_.BlockExecutable({kSha1, std::nullopt}, false, "g;h;i");

    const std::vector<TaskResult> results = results_.List();
    ASSERT_EQ(3u, results.size());
    EXPECT_EQ("a;b;c", results[0].userData);
    EXPECT_EQ(1u, results[0].outcome);
    EXPECT_EQ("d;e;f", results[1].userData);
    EXPECT_EQ(2u, results[1].outcome);
    EXPECT_EQ("g;h;i", results[2].userData);
    EXPECT_EQ(1u, results[2].outcome);
}

TEST_F(ProductTest, TaskWithoutUserDataHasNoResult) {
    product_.KillProcess("1", {}, "");

    EXPECT_EQ(1u, product_.TaskLog().size());
    EXPECT_TRUE(results_.List().empty());
}

TEST_F(ProductTest, TasksAreNumberedInOrder) {
    product_.KillProcess("1", {}, "first");
    product_.BlockExecutable({kSha1, std::nullopt}, false, "second");

    ASSERT_EQ(2u, product_.TaskLog().size());
    EXPECT_EQ(2u, product_.TaskLog()[1].number);
    EXPECT_EQ("BLOCK_EXECUTABLE_BY_HASH", product_.TaskLog()[1].function);
    EXPECT_EQ("second", product_.TaskLog()[1].userData);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
