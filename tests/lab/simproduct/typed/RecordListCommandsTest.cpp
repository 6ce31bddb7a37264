#include <boost/make_shared.hpp>

#include "lab/simproduct/typed/RecordListCommands.h"
#include "tests/lab/simproduct/typed/GroupFixture.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::CManualClock;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class RecordListCommandsTest : public GroupFixture {
  protected:
    ConsoleCommandGroup Group() override {
        return RecordListCommands(lists_, telemetry_, clock_,
                                  [this] { return lists_.Count(RecordKind::kAction) == most_; });
    }

    ProductRecord Record(RecordKind kind, std::uint64_t number) const {
        return lists_.From(kind, number - 1).at(0);
    }

    boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    CRecordLists lists_;
    CLiveTelemetry telemetry_{lists_, clock_, lines_.Sink()};
    std::uint64_t most_ = 1000;  // actions, after which the program is asked to end
};

TEST_F(RecordListCommandsTest, CountsAndLimitsAreTold) {
    EXPECT_THAT(Execute("records"),
                ElementsAre("answer command=records indicator=0 telemetry=0 action=0 batch=1000 "
                            "bytes=1048576"));
}

TEST_F(RecordListCommandsTest, AppendedRecordsAreCounted) {
    EXPECT_THAT(Execute("records append telemetry count=3"),
                ElementsAre(StartsWith("answer command=records indicator=0 telemetry=3 action=0")));
}

TEST_F(RecordListCommandsTest, RecordCarriesItsNumber) {
    Execute("records append indicator count=2");
    EXPECT_THAT(Record(RecordKind::kIndicator, 2).text, ::testing::HasSubstr("\"sequence\":2"));
}

TEST_F(RecordListCommandsTest, RecordHasTheWantedSize) {
    Execute("records append indicator size=500");
    EXPECT_EQ(500u, Record(RecordKind::kIndicator, 1).text.size());
}

TEST_F(RecordListCommandsTest, ActionsBlockUnlessTypesAreNamed) {
    Execute("records append action");
    Execute("records append action type=1,3,2 count=4");

    EXPECT_EQ(3, Record(RecordKind::kAction, 1).actionType);
    EXPECT_EQ(1, Record(RecordKind::kAction, 2).actionType);
    EXPECT_EQ(3, Record(RecordKind::kAction, 3).actionType);
    EXPECT_EQ(2, Record(RecordKind::kAction, 4).actionType);
    EXPECT_EQ(1, Record(RecordKind::kAction, 5).actionType);
}

TEST_F(RecordListCommandsTest, LimitsAreSetOneByOne) {
    Execute("records limit batch=5");
    EXPECT_THAT(Execute("records limit bytes=7"),
                ElementsAre(::testing::EndsWith("batch=5 bytes=7")));
}

TEST_F(RecordListCommandsTest, AppendingEndsOnceTheProgramIsAskedToEnd) {
    most_ = 3;
    EXPECT_THAT(Execute("records append action count=100000"),
                ElementsAre("error command=records text=\"given up after 3 records\""));
    EXPECT_EQ(3u, lists_.Count(RecordKind::kAction));
}

TEST_F(RecordListCommandsTest, MoreThanACommandAppendsIsRefusedWithTheLimit) {
    EXPECT_THAT(Execute("records append action count=100001"),
                ElementsAre("error command=records text=\"count is at most 100000\""));
    EXPECT_THAT(Execute("records append action count=2 size=134217729"),
                ElementsAre("error command=records text=\"size is at most 134217728\""));
    EXPECT_EQ(0u, lists_.Count(RecordKind::kAction));
}

TEST_F(RecordListCommandsTest, LiveSwitchesTheTelemetry) {
    EXPECT_THAT(Execute("live on"), ElementsAre("answer command=live state=on"));
    telemetry_.Note({});
    EXPECT_THAT(lines_.Take(), ElementsAre(StartsWith("observed ")));
    EXPECT_THAT(Execute("live off"), ElementsAre("answer command=live state=off"));
    telemetry_.Note({});
    EXPECT_EQ(1u, lists_.Count(RecordKind::kTelemetry));
}

TEST_F(RecordListCommandsTest, WhatIsNotUnderstoodIsRefused) {
    ExpectRefused({"records append", "records append tasks", "records append action kind=3",
                   "records append action count=many", "records append action type=3,",
                   "records limit 5", "records remove", "live", "live off now", "live maybe"});
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
