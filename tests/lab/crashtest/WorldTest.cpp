// A host that ends in a way of its own must not pass for one that was killed, nor other bytes for
// the product's.
#include <fstream>
#include <gmock/gmock.h>

#include "lab/crashtest/World.h"
#include "tests/lab/runner/ParrotFolder.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Lab::CrashTest {
namespace {

using ::testing::HasSubstr;

constexpr std::uint64_t kBatch = 7;
constexpr char kNone[] = "nothing was thrown";

/// The host is a parrot.
class WorldTest : public ::testing::Test {
  protected:
    /// Of a host that must be killed, and that obeys this line.
    std::string ProblemOfHostThatObeys(const std::string& line) {
        world_.StartHost({"--obey=" + line});
        return Kyr::Test::ThrownText([this] { world_.AwaitKilledHost(); });
    }

    /// What the product has in its file, and what the host has stored.
    void WriteRecords(const std::string& text) {
        std::ofstream(folder_.File("records"), std::ios::binary | std::ios::app) << text;
    }
    void Store(const std::vector<std::string>& indicators,
               const std::vector<std::string>& actions) {
        DevHost::CDatabase database(folder_.File("host.db"));
        database.StoreRecords(Common::Kernel::MessageType::DataMinerStoreEcsIndicatorLogs,
                              indicators);
        database.StoreActions(actions);
        indicators_ += indicators.size();
        database.SetValue("XDR_OFFSET", std::to_string(indicators_));
    }
    std::string ProblemOfClosing() {
        return Kyr::Test::ThrownText([this] { world_.CloseLife(); });
    }

    const Runner::CParrotFolder folder_;
    std::size_t indicators_ = 0;
    CWorld world_{{folder_.Path(), "", folder_.Path(), folder_.Path()}, kBatch};
};

TEST_F(WorldTest, HostThatKillsItselfWasKilledAndNoOther) {
    EXPECT_EQ(ProblemOfHostThatObeys("die"), kNone);
    EXPECT_EQ(ProblemOfHostThatObeys("end 42"), "the host was not killed, it ended with 42");
    EXPECT_EQ(ProblemOfHostThatObeys("end 0"), "the host was not killed, it ended with 0");
    EXPECT_THAT(ProblemOfHostThatObeys("abort"), HasSubstr("was not killed"));
}

TEST_F(WorldTest, LivingHostCanBeKilled) {
    world_.StartHost();
    EXPECT_EQ(kNone, Kyr::Test::ThrownText([this] { world_.KillHost(); }));
}

TEST_F(WorldTest, HostThatHasEndedCannotBeKilledAndBringsNoMoreRecords) {
    ProblemOfHostThatObeys("end 42");
    const std::string problem = "the host has ended by itself, with 42";
    EXPECT_EQ(problem, Kyr::Test::ThrownText([this] { world_.KillHost(); }));
    EXPECT_EQ(problem, Kyr::Test::ThrownText([this] { world_.Drain(std::chrono::seconds(20)); }));
}

TEST_F(WorldTest, HostKilledBeforeItMadeItsTablesHasStoredNothing) {
    EXPECT_EQ(kNone, ProblemOfClosing());
    for (std::size_t kind = 0; kind < 3; ++kind) {
        EXPECT_EQ(0U, world_.Ledger(kind).Counts().stored) << kKinds[kind].name;
    }
}

TEST_F(WorldTest, RecordsAsTheProductHasThemAreRight) {
    WriteRecords("indicator 0 3\none\naction 3 3\ntwo\n");
    Store({"one"}, {"\x08\x03\x12\x03two"});
    EXPECT_EQ(kNone, ProblemOfClosing());
    WriteRecords("indicator 0 5\nthree\n");
    Store({"three"}, {});
    EXPECT_EQ(kNone, ProblemOfClosing());
}

TEST_F(WorldTest, RecordWithoutItsLastByteIsTold) {
    WriteRecords("indicator 0 3\none\n");
    Store({"on"}, {});
    EXPECT_EQ("indicator: a record that is none of the product's came where 1 was due",
              ProblemOfClosing());
}

TEST_F(WorldTest, StoredRecordsThatAreGoneAreTold) {
    WriteRecords("indicator 0 3\none\n");
    Store({"one"}, {});
    EXPECT_EQ(kNone, ProblemOfClosing());
    boost::filesystem::remove(folder_.File("host.db"));
    EXPECT_EQ("indicator: stored records are gone", ProblemOfClosing());
}

TEST_F(WorldTest, ActionOfAnotherTypeIsTold) {
    WriteRecords("action 3 3\ntwo\n");
    Store({}, {"\x08\x04\x12\x03two"});
    EXPECT_EQ("action: a record that is none of the product's came where 1 was due",
              ProblemOfClosing());
}

}  // namespace
}  // namespace Kyr::Lab::CrashTest
