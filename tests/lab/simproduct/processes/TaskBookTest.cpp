#include "tests/lab/simproduct/ProductFixture.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;
using Hash = std::optional<std::string>;

const std::string kUpperSha1 = "A9993E364706816ABA3E25717850C26C9CD0D89D";
const std::string kOtherSha256(64, '0');

class TaskBookTest : public ProductFixture {
  protected:
    CTaskBook& tasks_ = product_.tasks;
};

TEST_F(TaskBookTest, KillIsDoneUnlessAnotherProcessOrProgramIsMeant) {
    const struct {
        Hash pid;
        Hashes hashes;
        TaskState state;
        const char* text;
    } kRows[] = {
        {"1", {}, TaskState::kRefused, "not a lab process"},
        {"18446744073709551615", {}, TaskState::kRefused, "not a lab process"},
        {std::nullopt, {}, TaskState::kRefused, "no process id"},
        {"12x", {}, TaskState::kRefused, "no process id"},
        {"1000", {kSha1, kOtherSha256}, TaskState::kRefused, "another program has that hash"},
        {"1000", {"", ""}, TaskState::kDone, "killed"},
        {"1000", {}, TaskState::kRefused, "ended before"},
        {"1001", {kUpperSha1, kSha256}, TaskState::kDone, "killed"},
    };
    tasks_.Start("one", program_, {});
    tasks_.Start("two", program_, {});
    for (const auto& row : kRows) {
        tasks_.KillProcess(row.pid, row.hashes, "");
        EXPECT_EQ(row.state, tasks_.TaskLog().back().state) << row.pid.value_or("none");
        EXPECT_EQ(row.text, tasks_.TaskLog().back().text) << row.pid.value_or("none");
    }
}

TEST_F(TaskBookTest, KillIsToldBeforeTheProcessEnds) {
    StartOne();

    tasks_.KillProcess("1000", {}, "a;b;c");
    product_.processes.EndAll();

    EXPECT_THAT(lines_.Take(),
                ElementsAre("did action=kill pid=1000 outcome=done text=killed userdata=a;b;c",
                            "ended pid=1000 name=one by=kill-request"));
}

TEST_F(TaskBookTest, RefusedKillEndsNothing) {
    StartOne();

    tasks_.KillProcess("1000", {kSha1, kOtherSha256}, "");
    tasks_.KillProcess("1", {}, "");

    EXPECT_TRUE(product_.processes.Find(1000)->running);
}

TEST_F(TaskBookTest, BlockedHashKeepsAProgramFromStarting) {
    for (const Hashes& hashes : {Hashes{std::nullopt, kSha256}, Hashes{kUpperSha1, std::nullopt}}) {
        CTaskBook tasks(product_.processes, product_.results, lines_.Sink());
        tasks.BlockExecutable(hashes, true, "");
        EXPECT_EQ("blocked", Kyr::Test::ThrownText([&] { tasks.Start("one", program_, {}); }));
    }
    EXPECT_TRUE(launcher_.launches.empty());
}

TEST_F(TaskBookTest, OtherHashesBlockNothing) {
    tasks_.BlockExecutable({std::string(40, '0'), kOtherSha256}, false, "");

    EXPECT_EQ(1000u, tasks_.Start("one", program_, {}).pid);
}

TEST_F(TaskBookTest, BlockWithoutAHashIsRefusedAndBlocksNothing) {
    tasks_.BlockExecutable({"", std::nullopt}, false, "");

    EXPECT_EQ("no hash", tasks_.TaskLog().back().text);
    EXPECT_EQ(TaskState::kRefused, tasks_.TaskLog().back().state);
    EXPECT_EQ(1000u, tasks_.Start("one", program_, {}).pid);
}

TEST_F(TaskBookTest, BlockingLeavesFilesAndRunningProcessesAlone) {
    StartOne();

    tasks_.BlockExecutable({kSha1, kSha256}, true, "");

    EXPECT_TRUE(product_.processes.Find(1000)->running);
    EXPECT_TRUE(std::ifstream(program_).good());
}

TEST_F(TaskBookTest, OutcomesWaitAsResultsUnlessNobodyCouldTellWhoseTaskItWas) {
    StartOne();

    tasks_.KillProcess("1000", {}, "a;b;c");
    tasks_.KillProcess("1", {}, "d;e;f");
    tasks_.KillProcess("1", {}, "");
    tasks_.BlockExecutable({kSha1, std::nullopt}, false, "g;h;i");

    std::vector<std::pair<std::uint32_t, std::string>> results;
    for (const TaskResult& result : product_.results.List()) {
        results.emplace_back(result.outcome, result.userData);
    }
    EXPECT_THAT(results, ElementsAre(std::pair(1u, "a;b;c"), std::pair(2u, "d;e;f"),
                                     std::pair(1u, "g;h;i")));
}

TEST_F(TaskBookTest, TasksAreNumberedInOrder) {
    tasks_.KillProcess("1", {}, "first");
    tasks_.BlockExecutable({kSha1, std::nullopt}, false, "second");

    ASSERT_EQ(2u, tasks_.TaskLog().size());
    EXPECT_EQ(2u, tasks_.TaskLog()[1].number);
    EXPECT_EQ("BLOCK_EXECUTABLE_BY_HASH", tasks_.TaskLog()[1].function);
    EXPECT_EQ("second", tasks_.TaskLog()[1].userData);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
