// Which promises the account of a conversation holds the module to. A broken one ends the process.
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "connector/reports/TaskEvent.h"
#include "fuzz/Account.h"
#include "host/message/OvAgentTasks.h"

namespace Kyr::Fuzz {
namespace {

using Connectors::Common::TaskOutcome;

const TaskOutcome kWillBeTriedAgain{1, 0x10000000C, 20, "no answer"};
const TaskOutcome kGivenUp{4, 0x10000009B, 40,
                           "Message task was canceled because maximum retry count was reached"};
const TaskOutcome kCancelled{4, 0x10000009B, 40,
                             "Message task was canceled because product is not available"};
const TaskOutcome kGivenUpForNothing{4, 0x10000009B, 40, "no answer"};
const TaskOutcome kDone{1, 0x10000000B, 30, ""};

constexpr char kFirst[] = "6ba7b810-9dad-11d1-80b4-000000000001";
constexpr char kSecond[] = "6ba7b810-9dad-11d1-80b4-000000000002";
constexpr char kThird[] = "6ba7b810-9dad-11d1-80b4-000000000003";
constexpr char kUserData[] =
    "6ba7b810-9dad-11d1-80b4-000000000001;6ba7b810-9dad-11d1-80b4-000000000002;"
    "6ba7b810-9dad-11d1-80b4-000000000003";

Common::Message::CTask::Uuid Uuid(const std::string& text) {
    Common::Message::CTask::Uuid uuid;
    uuid.set_uuid(text);
    return uuid;
}

class AccountTest : public ::testing::Test {
  protected:
    void HandOut() { account_.HandedOut(RecordKind::kIndicator, 0, {"one", "two"}, 2); }
    void Store(const CAccount::Records& records) {
        account_.Stored(RecordKind::kIndicator, records, true);
    }
    void Move(const char* offset) { account_.OffsetWasSet("XDR_OFFSET", offset); }

    void HandOutActions() {
        account_.OffsetWasRead("OV_REMEDIATION_OFFSET", "5");
        account_.HandedOut(RecordKind::kAction, 5, {"one"}, 3);
    }

    void Tell(const std::string& second, const TaskOutcome& outcome, bool kept = true) {
        account_.Told(
            *Connectors::Common::MakeTaskEvent({Uuid(kFirst), Uuid(second), Uuid(kThird)}, outcome,
                                               {kFirst, Base::SystemClock(), 1, 1}),
            kept);
    }
    void HandOutOutcome() { account_.OutcomeHandedOut({kFirst, kSecond, kThird, 1}); }

    /// An attempt that fails, and is told.
    void Fail() {
        account_.Requested(kUserData, Verdict::kRefused);
        Tell(kSecond, kWillBeTriedAgain);
    }

    CAccount::Message Deliver(const char* third) {
        using Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;
        const auto task = boost::make_shared<CKillProcessByPid>();
        task->SetIdentifiers(Uuid(kFirst), Uuid(kSecond), Uuid(third));
        account_.Delivered(task);
        return task;
    }

    CAccount account_;
};

using AccountDeathTest = AccountTest;

TEST_F(AccountTest, BatchThatIsStoredAndMovedOverIsRight) {
    HandOut();
    Store({"one", "two"});
    Move("2");
    account_.OffsetWasRead("XDR_OFFSET", "2");
    account_.HandedOut(RecordKind::kIndicator, 2, {"three"}, 1);
    Store({"three"});
    Move("3");
    account_.ExpectBalance({});
    EXPECT_EQ(account_.StoredRecords(RecordKind::kIndicator), 3u);
}

TEST_F(AccountTest, BatchThatCannotBeStoredIsAskedForAgain) {
    HandOut();
    account_.Stored(RecordKind::kIndicator, {"one", "two"}, false);
    HandOut();
    Store({"one", "two"});
    Move("2");
    account_.ExpectBalance({});
}

TEST_F(AccountTest, ActionsAreStoredMovedOverAndTold) {
    HandOutActions();
    account_.Stored(RecordKind::kAction, {"one"}, true);
    account_.OffsetWasSet("OV_REMEDIATION_OFFSET", "8");
    account_.MinerWasTold();
    account_.ExpectBalance({});
}

TEST_F(AccountTest, ActionsThatDoNotBlockStayWhereTheyAre) {
    account_.HandedOut(RecordKind::kAction, 0, {}, 2);
    account_.ExpectBalance({});
}

TEST_F(AccountTest, OutcomeThatIsToldOnceIsRight) {
    HandOutOutcome();
    Tell(kSecond, kDone);
    account_.ExpectBalance({});
    EXPECT_EQ(account_.ToldOutcomes(), 1u);
}

TEST_F(AccountTest, TaskEndsDoneGivenUpOrInTheQueue) {
    Deliver(kThird);
    account_.Requested(kUserData, Verdict::kRefused);
    Tell(kSecond, kWillBeTriedAgain);
    account_.Requested(kUserData, Verdict::kRefused);
    Tell(kSecond, kWillBeTriedAgain);
    Tell(kSecond, kGivenUp);
    const auto queued = Deliver(kSecond);
    account_.ExpectBalance({queued});
    EXPECT_EQ(account_.GivenUpTasks(), 1u);
}

TEST_F(AccountTest, PolicyThatIsRefusedComesAgainBeforeTheNext) {
    account_.PolicyDelivered("one");
    account_.PolicyDelivered("two");
    account_.PolicyCame("one", Verdict::kRefused);
    account_.PolicyCame("one", Verdict::kAccepted);
    account_.PolicyCame("two", Verdict::kAccepted);
    account_.ExpectAllIsDone();
}

TEST_F(AccountDeathTest, PolicyOutOfItsTurnIsFound) {
    account_.PolicyDelivered("one");
    account_.PolicyDelivered("two");
    EXPECT_DEATH(account_.PolicyCame("two", Verdict::kAccepted), "a policy came out of its turn");
    account_.PolicyCame("one", Verdict::kAccepted);
    account_.PolicyCame("two", Verdict::kAccepted);
    EXPECT_DEATH(account_.PolicyCame("one", Verdict::kAccepted), "a policy came out of its turn");
}

TEST_F(AccountDeathTest, RefusedPolicyThatIsGivenUpIsFound) {
    account_.PolicyDelivered("one");
    account_.PolicyDelivered("two");
    account_.PolicyCame("one", Verdict::kRefused);
    EXPECT_DEATH(account_.PolicyCame("two", Verdict::kAccepted),
                 "a policy came although the one before was refused");
}

TEST_F(AccountDeathTest, ProductThatIsMetWithoutThePolicyIsFound) {
    account_.Met();
    account_.ExpectNoPolicyDue();
    account_.PolicyDelivered("one");
    account_.PolicyCame("one", Verdict::kAccepted);
    account_.Met();
    EXPECT_DEATH(account_.ExpectNoPolicyDue(),
                 "a product that was just met was not given the last policy");
    account_.PolicyCame("one", Verdict::kAccepted);
    account_.ExpectNoPolicyDue();
}

TEST_F(AccountDeathTest, WhatIsNotDoneInTimeIsFound) {
    Deliver(kThird);
    EXPECT_DEATH(account_.ExpectAllIsDone(), "a task was not done in time");
    account_.Requested(kUserData, Verdict::kAccepted);
    account_.ExpectAllIsDone();
    account_.PolicyDelivered("one");
    EXPECT_DEATH(account_.ExpectAllIsDone(), "a policy did not come in time");
}

TEST_F(AccountDeathTest, RecordThatWasNeverKeptIsFound) {
    HandOut();
    account_.Stored(RecordKind::kIndicator, {"one", "two"}, false);
    EXPECT_DEATH(account_.ExpectStored(RecordKind::kIndicator, "one"), "a record was lost");
}

TEST_F(AccountDeathTest, BatchThatIsNotStoredIsFound) {
    HandOut();
    EXPECT_DEATH(account_.ExpectBalance({}), "a batch that was handed out was not dealt with");
    EXPECT_DEATH(HandOut(), "a batch that was handed out was not dealt with");
}

TEST_F(AccountDeathTest, ChangedRecordsAreFound) {
    HandOut();
    EXPECT_DEATH(Store({"one", "tw"}), "other records were stored than were handed out");
    EXPECT_DEATH(Store({"two", "one"}), "other records were stored than were handed out");
}

TEST_F(AccountDeathTest, RecordsStoredTwiceAreFound) {
    HandOut();
    Store({"one", "two"});
    EXPECT_DEATH(Store({"one", "two"}), "records were stored that nobody has just handed out");
}

TEST_F(AccountDeathTest, OffsetThatMovesTooEarlyTooFarOrNotIsFound) {
    HandOut();
    EXPECT_DEATH(Move("2"), "an offset was moved over records that are not stored");
    Store({"one", "two"});
    EXPECT_DEATH(Move("3"), "an offset was moved by more or less than its batch");
    EXPECT_DEATH(HandOut(), "a batch that was handed out was not dealt with");
}

TEST_F(AccountDeathTest, RequestFromAnotherOffsetIsFound) {
    account_.OffsetWasRead("XDR_OFFSET", "1");
    EXPECT_DEATH(HandOut(), "records were asked for from another offset than the stored one");
}

TEST_F(AccountDeathTest, DataMinerThatIsToldTooEarlyOrNotIsFound) {
    HandOutActions();
    account_.Stored(RecordKind::kAction, {"one"}, true);
    EXPECT_DEATH(account_.MinerWasTold(), "told of actions that did not come");
    account_.OffsetWasSet("OV_REMEDIATION_OFFSET", "8");
    EXPECT_DEATH(account_.ExpectBalance({}), "a batch that was handed out was not dealt with");
}

TEST_F(AccountDeathTest, OutcomeThatIsNotToldIsFound) {
    HandOutOutcome();
    EXPECT_DEATH(account_.ExpectOutcomeTold(), "an outcome was not told");
    EXPECT_DEATH(account_.ExpectBalance({}), "an outcome was not told");
}

TEST_F(AccountTest, OutcomeThatTheBusRefusesMayEndWithTheModule) {
    HandOutOutcome();
    Tell(kSecond, kDone, false);
    account_.ExpectBalance({});
    EXPECT_EQ(account_.ToldOutcomes(), 0u);
}

TEST_F(AccountDeathTest, OutcomeThatTheBusRefusesAndNobodyTellsAgainIsFound) {
    HandOutOutcome();
    Tell(kSecond, kDone, false);
    EXPECT_DEATH(account_.ExpectOutcomeTold(), "an outcome was not told");
    HandOutOutcome();
    EXPECT_DEATH(account_.ExpectBalance({}), "an outcome was not told");
}

TEST_F(AccountTest, OffsetThatTheStoreThrowsAtLeavesItsBatchWhereItWas) {
    HandOutActions();
    account_.Stored(RecordKind::kAction, {"one"}, true);
    account_.OffsetWasSet("OV_REMEDIATION_OFFSET", "8");
    account_.OffsetWasNotSet("OV_REMEDIATION_OFFSET");
    HandOutActions();
    account_.Stored(RecordKind::kAction, {"one"}, false);
    account_.ExpectBalance({});
}

TEST_F(AccountDeathTest, OutcomeThatIsToldWronglyOrTwiceIsFound) {
    HandOutOutcome();
    EXPECT_DEATH(Tell(kFirst, kDone), "told that nobody has just handed out");
    EXPECT_DEATH(Tell(kSecond, kGivenUp), "an outcome was told as another one");
    Tell(kSecond, kDone);
    EXPECT_DEATH(Tell(kSecond, kDone), "told that nobody has just handed out");
}

TEST_F(AccountDeathTest, TaskWithoutAnEndIsFoundOnceAnotherOneIsTaken) {
    Deliver(kThird);
    account_.Requested(kUserData, Verdict::kRefused);
    Tell(kSecond, kWillBeTriedAgain);
    account_.ExpectBalance({});  // interrupted
    Deliver(kSecond);
    EXPECT_DEATH(account_.ExpectBalance({}), "a task has come to no end");
}

TEST_F(AccountDeathTest, WhatHappensToATaskAfterItsEndIsFound) {
    Deliver(kThird);
    account_.Requested(kUserData, Verdict::kAccepted);
    EXPECT_DEATH(account_.Requested(kUserData, Verdict::kAccepted), "sent again after its end");
    EXPECT_DEATH(Tell(kSecond, kGivenUp), "something was told of a task after its end");
}

TEST_F(AccountDeathTest, TaskThatIsToldOfInOtherTermsIsFound) {
    Deliver(kThird);
    EXPECT_DEATH(Tell(kSecond, kDone), "something else was told of a task");
    Fail();
    Fail();
    account_.Requested(kUserData, Verdict::kRefused);
    EXPECT_DEATH(Tell(kSecond, kWillBeTriedAgain), "something else was told of a task");
}

TEST_F(AccountDeathTest, TaskThatIsGivenUpWithoutItsFailuresIsFound) {
    Deliver(kThird);
    EXPECT_DEATH(Tell(kSecond, kWillBeTriedAgain), "told that nobody has tried");
    Fail();
    EXPECT_DEATH(Tell(kSecond, kGivenUp), "given up without its failures");
    EXPECT_DEATH(Tell(kSecond, kGivenUpForNothing), "for a reason that there is not");
}

TEST_F(AccountTest, TaskThatIsCancelledAtAStopBeforeTheConnectionIsRight) {
    Deliver(kThird);
    account_.HostStops();
    Tell(kSecond, kCancelled);
    account_.ExpectBalance({});
    EXPECT_EQ(account_.GivenUpTasks(), 1u);
}

TEST_F(AccountDeathTest, TaskThatIsCancelledWithoutAStopOrBehindTheConnectionIsFound) {
    Deliver(kThird);
    EXPECT_DEATH(Tell(kSecond, kCancelled), "the product was there, or could still come");
    account_.Logged("Connected to product, processing tasks");
    account_.HostStops();
    EXPECT_DEATH(Tell(kSecond, kCancelled), "the product was there, or could still come");
}

}  // namespace
}  // namespace Kyr::Fuzz
