#include <gmock/gmock.h>

#include "lab/runner/life/Tellers.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::SizeIs;

LifePage::Life Flow(const std::vector<std::string>& lines) {
    LifePage::Life life = ToldLife(lines);
    TellRecords(life);
    return life;
}

TEST(RecordFlowTest, BatchesStandInTheirOrderUnderTheirKind) {
    const LifePage::Life life = Flow({"1 product handed kind=indicator from=1 records=100",
                                      "2 product handed kind=action from=1 records=6",
                                      "3 product handed kind=indicator from=101 records=50"});
    ASSERT_THAT(life.records, SizeIs(2));
    ASSERT_THAT(life.records[0].batches, SizeIs(2));
    EXPECT_EQ(life.records[0].kind, "indicator");
    EXPECT_EQ(life.records[0].batches[1].from, 101U);
    EXPECT_EQ(life.records[0].batches[1].records, 50U);
    EXPECT_EQ(life.records[0].batches[1].event, 2U);
    EXPECT_EQ(life.records[1].stored, std::nullopt);
}

TEST(RecordFlowTest, StoredIsWhatTheDataMinerTells) {
    const LifePage::Life life =
        Flow({"1 host mined name=DataMinerStoreEcsIndicatorLogs records=100",
              "2 host mined name=DataMinerStoreEcsIndicatorLogs records=50"});
    ASSERT_THAT(life.records, SizeIs(1));
    EXPECT_EQ(life.records[0].kind, "indicator");
    EXPECT_THAT(life.records[0].stored, Optional(150U));
    EXPECT_EQ(life.records[0].sent, std::nullopt);
    EXPECT_EQ(life.records[0].lost, std::nullopt);
}

TEST(RecordFlowTest, CountOfTheWholeRunStandsInPlaceOfTheSum) {
    const LifePage::Life life =
        Flow({"1 host mined name=DataMinerStoreEcsTelemetryLogs records=9",
              "2 host tally kind=telemetry sent=10 stored=8 twice=1 lost=2"});
    EXPECT_THAT(life.records[0].sent, Optional(10U));
    EXPECT_THAT(life.records[0].stored, Optional(8U));
    EXPECT_THAT(life.records[0].twice, Optional(1U));
    EXPECT_THAT(life.records[0].lost, Optional(2U));
}

TEST(RecordFlowTest, LifeWithoutRecordsHasNone) {
    EXPECT_THAT(Flow({"1 host ready"}).records, IsEmpty());
}

}  // namespace
}  // namespace Kyr::Lab::Runner
