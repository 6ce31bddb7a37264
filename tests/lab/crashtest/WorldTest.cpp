// A host that ends in a way of its own must not pass for one that was killed.
#include <gmock/gmock.h>
#include <stdexcept>

#include <boost/thread/thread.hpp>

#include "lab/crashtest/World.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::CrashTest {
namespace {

using ::testing::HasSubstr;

constexpr std::uint64_t kBatch = 7;

class WorldTest : public ::testing::Test {
  protected:
    /// A host that ends in that way: an exit code, "aborted" or "killed".
    void StartHostThatEnds(const std::string& way) { world_.StartHost({"--end=" + way}); }

    void AwaitDeath() {
        for (int i = 0; world_.HostLives() && i < 2000; ++i) {
            boost::this_thread::sleep_for(boost::chrono::milliseconds(10));
        }
        ASSERT_FALSE(world_.HostLives());
    }

    template <typename Action>
    static std::string ProblemOf(Action action) {
        try {
            action();
        } catch (const std::runtime_error& problem) {
            return problem.what();
        }
        return "none";
    }

    std::string ProblemOfAwaiting() {
        return ProblemOf([this] { world_.AwaitKilledHost(); });
    }

    const Kyr::Test::CTemporaryFolder folder_;
    CWorld world_{{"", KYR_FRAIL_HOST, "", {}}, folder_.File("world"), kBatch};
};

TEST_F(WorldTest, HostThatKillsItselfWasKilled) {
    StartHostThatEnds("killed");
    EXPECT_EQ("none", ProblemOfAwaiting());
}

TEST_F(WorldTest, HostThatEndsWithACodeWasNotKilled) {
    StartHostThatEnds("42");
    EXPECT_EQ("the host was not killed, it ended with 42", ProblemOfAwaiting());
}

TEST_F(WorldTest, HostThatEndsWellWasNotKilled) {
    StartHostThatEnds("0");
    EXPECT_EQ("the host was not killed, it ended with 0", ProblemOfAwaiting());
}

TEST_F(WorldTest, HostThatAbortsWasNotKilled) {
    StartHostThatEnds("aborted");
    EXPECT_THAT(ProblemOfAwaiting(), HasSubstr("was not killed"));
}

TEST_F(WorldTest, LivingHostCanBeKilled) {
    world_.StartHost();
    EXPECT_TRUE(world_.HostLives());
    EXPECT_EQ("none", ProblemOf([this] { world_.KillHost(); }));
}

TEST_F(WorldTest, HostThatHasEndedCannotBeKilled) {
    StartHostThatEnds("42");
    AwaitDeath();
    EXPECT_EQ("the host has ended by itself, with 42", ProblemOf([this] { world_.KillHost(); }));
}

TEST_F(WorldTest, HostThatHasEndedBringsNoMoreRecords) {
    StartHostThatEnds("42");
    AwaitDeath();
    EXPECT_EQ("the host has ended by itself, with 42",
              ProblemOf([this] { world_.Drain(std::chrono::seconds(20)); }));
}

}  // namespace
}  // namespace Kyr::Lab::CrashTest
