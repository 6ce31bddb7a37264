// When a task counts as lost, or as told of too often. What the module tells comes by the bus.
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "connector/reports/TaskEvent.h"
#include "tests/endurance/CountingHost.h"

namespace Kyr::Endurance {
namespace {

using Connectors::Common::TaskOutcome;

const TaskOutcome kWillBeTriedAgain{1, 0x10000000C, 20, "no answer"};
const TaskOutcome kGivenUp{4, 0x10000009B, 40, "no answer"};
const TaskOutcome kDone{1, 0x10000000B, 30, ""};

class TaskLedgerTest : public ::testing::Test {
  protected:
    void Report(const TaskOutcome& outcome) { Report(outcome, task_); }
    void Report(const TaskOutcome& outcome, const std::string& third) {
        const auto uuid = [](const std::string& text) {
            Connectors::Common::TaskIdentifiers::Uuid result;
            result.set_uuid(text);
            return result;
        };
        const std::string other = "6ba7b810-9dad-11d1-80b4-00c04fd430c8";
        host_.resources.bus->Publish(
            Connectors::Common::MakeTaskEvent({uuid(other), uuid(other), uuid(third)}, outcome,
                                              {other, Base::SystemClock(), 1, 1}),
            nullptr);
    }

    CTaskLedger ledger_;
    CCountingHost host_{ledger_};
    const std::string task_ = ledger_.Enter();
};

TEST_F(TaskLedgerTest, TaskThatReachedTheProductIsNotLost) {
    EXPECT_EQ(1u, ledger_.Lost());
    ledger_.Reached(task_);
    EXPECT_EQ(0u, ledger_.Lost());
    EXPECT_EQ(1u, ledger_.Deeds());
}

TEST_F(TaskLedgerTest, TaskThatWillBeTriedAgainIsStillLost) {
    Report(kWillBeTriedAgain);
    EXPECT_EQ(1u, ledger_.Lost());
    EXPECT_EQ(1u, ledger_.Failures());
}

TEST_F(TaskLedgerTest, TaskThatWasGivenUpIsNotLost) {
    Report(kWillBeTriedAgain);
    Report(kGivenUp);
    EXPECT_EQ(0u, ledger_.Lost());
    EXPECT_EQ(2u, ledger_.Failures());
    EXPECT_EQ(0u, ledger_.ToldTooOften());
}

TEST_F(TaskLedgerTest, GivingUpWithAnotherStatusIsNoEnd) {
    TaskOutcome outcome = kGivenUp;
    outcome.status = 1;
    Report(outcome);
    EXPECT_EQ(1u, ledger_.Lost());
}

TEST_F(TaskLedgerTest, TaskThatWasGivenUpTwiceIsToldTooOften) {
    Report(kGivenUp);
    Report(kGivenUp);
    EXPECT_EQ(1u, ledger_.ToldTooOften());
}

TEST_F(TaskLedgerTest, OutcomeIsToldAsOftenAsItWasHandedOut) {
    ledger_.HandedOut(task_);
    Report(kDone);
    EXPECT_EQ(0u, ledger_.ToldTooOften());
    Report(kDone);
    EXPECT_EQ(1u, ledger_.ToldTooOften());
}

TEST_F(TaskLedgerTest, ReportOfNoTaskIsOneTooMany) {
    Report(kWillBeTriedAgain, "6ba7b810-9dad-11d1-80b4-00c04fd430c8");
    EXPECT_EQ(1u, ledger_.ToldTooOften());
}

TEST_F(TaskLedgerTest, WhatTheProductDidForOthersCountsForNoTask) {
    ledger_.Reached("anything");
    ledger_.HandedOut("anything");
    EXPECT_EQ(1u, ledger_.Lost());
    EXPECT_EQ(1u, ledger_.Deeds());
}

}  // namespace
}  // namespace Kyr::Endurance
