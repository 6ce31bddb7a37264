#include <gmock/gmock.h>
#include <memory>
#include <stdexcept>

#include "lab/devhost/database/Database.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using Common::Kernel::MessageType;
using Lab::DevHost::CDatabase;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr MessageType kIndicators = MessageType::DataMinerStoreEcsIndicatorLogs;
constexpr MessageType kTelemetry = MessageType::DataMinerStoreEcsTelemetryLogs;

class MinerStoreTest : public ::testing::Test {
  protected:
    Lab::DevHost::CMinerStore& Miner() { return database_->Miner(); }

    const CTemporaryFolder folder_;
    std::unique_ptr<CDatabase> database_ = std::make_unique<CDatabase>(folder_.File("host.db"));
};

TEST_F(MinerStoreTest, RecordsAreKeptInTheOrderOfComing) {
    Miner().Store(kIndicators, {"two", "one"});
    Miner().Store(kIndicators, {"three"});
    EXPECT_THAT(Miner().Records(kIndicators), ElementsAre("two", "one", "three"));
}

TEST_F(MinerStoreTest, RecordThatComesAgainIsKeptAgain) {
    Miner().Store(kIndicators, {"one"});
    Miner().Store(kIndicators, {"one"});
    EXPECT_THAT(Miner().Records(kIndicators), ElementsAre("one", "one"));
}

TEST_F(MinerStoreTest, KindsAreKeptApart) {
    Miner().Store(kTelemetry, {"one"});
    EXPECT_THAT(Miner().Records(kIndicators), IsEmpty());
}

TEST_F(MinerStoreTest, RecordsAreBytes) {
    const std::string record("\0\xff'", 3);
    Miner().Store(kTelemetry, {record, ""});
    EXPECT_THAT(Miner().Records(kTelemetry), ElementsAre(record, ""));
}

TEST_F(MinerStoreTest, RecordsSurviveReopening) {
    Miner().Store(kTelemetry, {"one"});
    database_.reset();
    database_ = std::make_unique<CDatabase>(folder_.File("host.db"));
    EXPECT_THAT(Miner().Records(kTelemetry), ElementsAre("one"));
}

TEST_F(MinerStoreTest, BatchThatCannotBeStoredWholeIsNotStoredAtAll) {
    Lab::DevHost::CSqliteConnection other(folder_.File("host.db"));
    other.Execute(
        "CREATE TRIGGER refuse BEFORE INSERT ON mined_records WHEN NEW.record = x'6261' "
        "BEGIN SELECT RAISE(ABORT, 'refused'); END");
    EXPECT_THROW(Miner().Store(kTelemetry, {"good", "ba"}), std::runtime_error);
    Miner().Store(kTelemetry, {"later"});
    EXPECT_THAT(Miner().Records(kTelemetry), ElementsAre("later"));
}

}  // namespace
}  // namespace Kyr::Test
