// A host that ends in a way of its own must not pass for one that was killed, nor other bytes for
// the product's.
#include <fstream>
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

    /// What the product has in its file, and what the host has stored.
    void WriteRecords(const std::string& text) {
        std::ofstream(folder_.File("world/records"), std::ios::binary | std::ios::app) << text;
    }
    void Store(const std::vector<std::string>& indicators,
               const std::vector<std::string>& actions) {
        DevHost::CDatabase database(folder_.File("world/host.db"));
        database.Miner().Store(Common::Kernel::MessageType::DataMinerStoreEcsIndicatorLogs,
                               indicators);
        database.RemediationActions().StoreActions(actions);
        indicators_ += indicators.size();
        database.KeyValues().SetValue("XDR_OFFSET", std::to_string(indicators_));
    }
    std::string ProblemOfClosing() {
        return ProblemOf([this] { world_.CloseLife(); });
    }

    const Kyr::Test::CTemporaryFolder folder_;
    std::size_t indicators_ = 0;
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

TEST_F(WorldTest, RecordsAsTheProductHasThemAreRight) {
    WriteRecords("indicator 0 3\none\naction 3 3\ntwo\n");
    Store({"one"}, {"\x08\x03\x12\x03two"});
    EXPECT_EQ("none", ProblemOfClosing());
    WriteRecords("indicator 0 5\nthree\n");
    Store({"three"}, {});
    EXPECT_EQ("none", ProblemOfClosing());
}

TEST_F(WorldTest, RecordWithoutItsLastByteIsTold) {
    WriteRecords("indicator 0 3\none\n");
    Store({"on"}, {});
    EXPECT_EQ("indicator: a record that is none of the product's came where 1 was due",
              ProblemOfClosing());
}

TEST_F(WorldTest, ActionOfAnotherTypeIsTold) {
    WriteRecords("action 3 3\ntwo\n");
    Store({}, {"\x08\x04\x12\x03two"});
    EXPECT_EQ("action: a record that is none of the product's came where 1 was due",
              ProblemOfClosing());
}

}  // namespace
}  // namespace Kyr::Lab::CrashTest
