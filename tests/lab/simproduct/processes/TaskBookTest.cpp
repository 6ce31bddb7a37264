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
        const char* state;
        const char* text;
    } kRows[] = {
        {"1", {}, "refused", "not a lab process"},
        {"18446744073709551615", {}, "refused", "not a lab process"},
        {std::nullopt, {}, "refused", "no process id"},
        {"12x", {}, "refused", "no process id"},
        {"1000", {kSha1, kOtherSha256}, "refused", "another program has that hash"},
        {"1000", {"", ""}, "done", "killed"},
        {"1000", {}, "refused", "ended before"},
        {"1001", {kUpperSha1, kSha256}, "done", "killed"},
    };
    tasks_.Start("one", program_, {});
    tasks_.Start("two", program_, {});
    for (const auto& row : kRows) {
        tasks_.KillProcess(row.pid, row.hashes, "");
        const CLine told = tasks_.TaskLog().back();
        EXPECT_EQ(row.state, told.Value("state")) << row.pid.value_or("none");
        EXPECT_EQ(row.text, told.Value("text")) << row.pid.value_or("none");
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

TEST_F(TaskBookTest, OnlyAProgramWithABlockedHashIsKeptFromStarting) {
    const struct {
        Hashes hashes;
        const char* state;
        const char* text;
        const char* start;
    } kRows[] = {
        {{std::nullopt, kSha256}, "done", "blocked", "blocked"},
        {{kUpperSha1, std::nullopt}, "done", "blocked", "blocked"},
        {{std::string(40, '0'), kOtherSha256}, "done", "blocked", "nothing was thrown"},
        {{"", std::nullopt}, "refused", "no hash", "nothing was thrown"},
    };
    for (const auto& row : kRows) {
        CTaskBook tasks(product_.processes, product_.results, lines_.Sink());
        tasks.BlockExecutable(row.hashes, true, "");
        EXPECT_EQ(row.state, tasks.TaskLog().back().Value("state"));
        EXPECT_EQ(row.text, tasks.TaskLog().back().Value("text"));
        EXPECT_EQ(row.start, Kyr::Test::ThrownText([&] { tasks.Start("one", program_, {}); }));
        product_.processes.EndAll();
    }
    EXPECT_EQ(2u, launcher_.launches.size());
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

}  // namespace
}  // namespace Kyr::Lab::SimProduct
