#include <gmock/gmock.h>

#include <boost/make_shared.hpp>

#include "lab/simproduct/typed/LiveCommands.h"
#include "tests/lab/simproduct/typed/GroupFixture.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::CManualClock;
using ::testing::ElementsAre;

class CEmptyTable : public IProcessTable {
  public:
    std::vector<ProcessId> List() override { return {}; }
    std::optional<ProcessFacts> Describe(const ProcessId&) override { return std::nullopt; }
};

class LiveCommandsTest : public GroupFixture {
  protected:
    ConsoleCommandGroup Group() override { return LiveCommands(telemetry_, lines_.Sink()); }

    CEmptyTable table_;
    CRecordLists lists_;
    boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    CLiveTelemetry telemetry_{table_, lists_, clock_, lines_.Sink()};
};

TEST_F(LiveCommandsTest, OnBeginsToLookAndOffEndsIt) {
    EXPECT_THAT(Execute("live on name=victim"), ElementsAre("answer command=live state=on"));
    EXPECT_TRUE(clock_->AwaitSleepers(1));
    EXPECT_THAT(Execute("live on own"), ElementsAre("answer command=live state=on"));
    EXPECT_TRUE(clock_->AwaitSleepers(1));
    EXPECT_THAT(Execute("live off"), ElementsAre("answer command=live state=off"));
    EXPECT_TRUE(clock_->AwaitSleepers(0));
}

TEST_F(LiveCommandsTest, WhatIsNotUnderstoodIsRefused) {
    for (const char* line : {"live", "live off now", "live on victim", "live maybe"}) {
        EXPECT_NE("", Refusal(line)) << line;
    }
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
