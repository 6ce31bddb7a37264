#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <boost/thread/thread.hpp>

#include "connector/Subscriber.h"
#include "tests/support/host/TestMessage.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Common::Module {
namespace {

using namespace Kyr::Test;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;

/// One take on a thread of its own.
class CConsumer {
  public:
    explicit CConsumer(CSubscriber& subscriber)
        : thread_([this, &subscriber] {
              try {
                  taken_ = subscriber.WaitForMessage(message_, context_);
              } catch (const boost::thread_interrupted&) {
                  interrupted_ = true;
              }
          }) {}
    ~CConsumer() { Join(); }
    CConsumer(const CConsumer&) = delete;
    CConsumer& operator=(const CConsumer&) = delete;

    void Interrupt() { thread_.interrupt(); }
    void Join() {
        if (thread_.joinable()) {
            thread_.join();
        }
    }
    /// What WaitForMessage returned.
    bool Took() {
        Join();
        return taken_;
    }
    bool WasInterrupted() {
        Join();
        return interrupted_;
    }
    std::string Name() {
        Join();
        return message_ ? message_->GetName() : "";
    }

  private:
    CSubscriber::Message message_;
    CSubscriber::Context context_;
    bool taken_ = false;
    bool interrupted_ = false;
    boost::thread thread_;
};

/// A clock whose waits end at once with what the test says: the n-th wait runs the n-th action with
/// the queue's lock released, and a timed one returns its result.
class CScriptedWaits : public Base::IClock {
  public:
    using Action = std::function<bool()>;

    std::vector<Action> actions;
    /// The time-outs of all waits; 0 for an untimed one.
    std::vector<milliseconds> timeouts;

    std::int64_t CalendarTime() const override { return 0; }
    void SleepFor(milliseconds) override {}
    void Wait(Base::CCondition& condition, Base::CLock& lock) override {
        WaitFor(condition, lock, milliseconds(0));
    }
    bool WaitFor(Base::CCondition&, Base::CLock& lock,
                 milliseconds timeout) override KYR_NO_THREAD_SAFETY_ANALYSIS {
        const Action action = actions.at(timeouts.size());
        timeouts.push_back(timeout);
        lock.Unlock();
        const bool signalled = action();
        lock.Lock();
        return signalled;
    }
};

class SubscriberTest : public testing::Test {
  protected:
    void Push(const std::string& name) { queue.Push(MakeMessage(name), {}); }
    bool Take() { return queue.WaitForMessage(message, context); }
    bool TakeTimed() { return timed.WaitForMessage(message, context); }
    /// Lets a consumer give up on the timed queue.
    void LetTimedQueueGoIdle() {
        CConsumer consumer(timed);
        EXPECT_TRUE(clock->AwaitWaiters(1));
        clock->Advance(seconds(5));
        EXPECT_FALSE(consumer.Took());
    }

    const boost::shared_ptr<CManualClock> clock = boost::make_shared<CManualClock>();
    int idleEnds = 0;
    CSubscriber queue{"M", clock};
    CSubscriber timed{"T", clock, [this] { ++idleEnds; }};
    CSubscriber::Message message;
    CSubscriber::Context context;
};

TEST_F(SubscriberTest, MessagesComeOutInTheOrderOfPushing) {
    Push("A");
    Push("B");
    EXPECT_TRUE(Take());
    EXPECT_EQ(message->GetName(), "A");
    EXPECT_TRUE(Take());
    EXPECT_EQ(message->GetName(), "B");
}

TEST_F(SubscriberTest, MessageComesOutWithItsOwnContext) {
    const auto first = MakeContext();
    queue.Push(MakeMessage("A"), first);
    queue.Push(MakeMessage("B"), {});
    EXPECT_TRUE(Take());
    EXPECT_EQ(context, first);
    EXPECT_TRUE(Take());
    EXPECT_EQ(context, nullptr);
}

TEST_F(SubscriberTest, UntimedConsumerWaitsUntilAMessageComes) {
    CConsumer consumer(queue);
    ASSERT_TRUE(clock->AwaitWaiters(1));
    clock->Advance(std::chrono::hours(24));
    EXPECT_TRUE(clock->AwaitWaiters(1));
    Push("A");
    EXPECT_TRUE(consumer.Took());
    EXPECT_EQ(consumer.Name(), "A");
    EXPECT_TRUE(clock->TimedWaits().empty());
}

TEST_F(SubscriberTest, TimedConsumerWaitsFiveSecondsAtATime) {
    LetTimedQueueGoIdle();
    EXPECT_THAT(clock->TimedWaits(), ElementsAre(milliseconds(5000)));
}

TEST_F(SubscriberTest, TimedConsumerStillWaitsJustBeforeFiveSeconds) {
    CConsumer consumer(timed);
    ASSERT_TRUE(clock->AwaitWaiters(1));
    clock->Advance(milliseconds(4999));
    EXPECT_TRUE(clock->AwaitWaiters(1));
    EXPECT_FALSE(timed.IsIdle());
    timed.Push(MakeMessage("A"), {});
    EXPECT_TRUE(consumer.Took());
}

TEST_F(SubscriberTest, TimedConsumerThatGivesUpLeavesTheQueueIdle) {
    EXPECT_FALSE(timed.IsIdle());
    LetTimedQueueGoIdle();
    EXPECT_TRUE(timed.IsIdle());
}

TEST_F(SubscriberTest, NextPushAfterIdleCallsTheCallbackExactlyOnce) {
    LetTimedQueueGoIdle();
    timed.Push(MakeMessage("A"), {});
    timed.Push(MakeMessage("B"), {});
    EXPECT_EQ(idleEnds, 1);
    EXPECT_FALSE(timed.IsIdle());
}

TEST_F(SubscriberTest, PushBeforeIdleDoesNotCallTheCallback) {
    timed.Push(MakeMessage("A"), {});
    EXPECT_EQ(idleEnds, 0);
}

TEST_F(SubscriberTest, CallbackRunsWithoutTheLock) {
    std::size_t sizeSeen = 0;
    CSubscriber* self = nullptr;
    CSubscriber reentrant("R", clock, [&] { sizeSeen = self->GetQueueSize(); });
    self = &reentrant;
    reentrant.Rearm();
    reentrant.Push(MakeMessage("A"), {});
    EXPECT_EQ(sizeSeen, 1u);
}

TEST_F(SubscriberTest, IdleEndsWithoutACallbackToo) {
    timed.Detach();
    LetTimedQueueGoIdle();
    timed.Push(MakeMessage("A"), {});
    EXPECT_EQ(idleEnds, 0);
    EXPECT_FALSE(timed.IsIdle());
    EXPECT_TRUE(TakeTimed());
}

TEST_F(SubscriberTest, MessageIsQueuedBeforeAFailingCallback) {
    CSubscriber failing("F", clock, [] { throw boost::thread_resource_error(); });
    failing.Rearm();
    EXPECT_THROW(failing.Push(MakeMessage("A"), {}), boost::thread_resource_error);
    EXPECT_EQ(failing.GetQueueSize(), 1u);
}

TEST_F(SubscriberTest, PushBehindAFailedCallbackCallsItAgain) {
    int calls = 0;
    CSubscriber failing("F", clock, [&calls] {
        if (++calls == 1) {
            throw boost::thread_resource_error();
        }
    });
    failing.Rearm();
    EXPECT_THROW(failing.Push(MakeMessage("A"), {}), boost::thread_resource_error);
    EXPECT_TRUE(failing.IsIdle());
    failing.Push(MakeMessage("B"), {});
    EXPECT_EQ(calls, 2);
    EXPECT_FALSE(failing.IsIdle());
}

TEST_F(SubscriberTest, PushBehindARearmWhoseCallbackFailedCallsItAgain) {
    int calls = 0;
    CSubscriber failing("F", clock, [&calls] {
        if (++calls == 1) {
            throw boost::thread_resource_error();
        }
    });
    failing.Push(MakeMessage("A"), {});
    EXPECT_THROW(failing.Rearm(), boost::thread_resource_error);
    failing.Push(MakeMessage("B"), {});
    EXPECT_EQ(calls, 2);
}

// What failed has been overtaken: there is a consumer, and a second one must not be called for.
TEST_F(SubscriberTest, CallbackThatFailsBehindOneThatWorkedLeavesTheQueueBusy) {
    int calls = 0;
    CSubscriber* self = nullptr;
    CSubscriber failing("F", clock, [&] {
        if (++calls == 1) {
            self->Rearm();
            throw boost::thread_resource_error();
        }
    });
    self = &failing;
    failing.Rearm();
    EXPECT_THROW(failing.Push(MakeMessage("A"), {}), boost::thread_resource_error);
    EXPECT_EQ(calls, 2);
    EXPECT_FALSE(failing.IsIdle());
}

TEST_F(SubscriberTest, AbandonedQueueCallsTheCallbackWithTheNextMessage) {
    timed.Push(MakeMessage("A"), {});
    timed.Abandon();
    EXPECT_EQ(idleEnds, 0);
    timed.Push(MakeMessage("B"), {});
    EXPECT_EQ(idleEnds, 1);
    EXPECT_EQ(timed.GetQueueSize(), 2u);
}

TEST_F(SubscriberTest, TryTakeOfAnEmptyQueueReturnsFalseAtOnce) {
    EXPECT_FALSE(queue.TryTakeMessage(message, context));
}

TEST_F(SubscriberTest, TryTakeTakesTheFirstMessageAndItsContext) {
    const auto first = MakeContext();
    queue.Push(MakeMessage("A"), first);
    Push("B");
    EXPECT_TRUE(queue.TryTakeMessage(message, context));
    EXPECT_EQ(message->GetName(), "A");
    EXPECT_EQ(context, first);
    EXPECT_EQ(queue.GetQueueSize(), 1u);
}

TEST_F(SubscriberTest, TryTakeIgnoresAWake) {
    EXPECT_TRUE(timed.Wake());
    timed.Push(MakeMessage("A"), {});
    EXPECT_TRUE(timed.TryTakeMessage(message, context));
    EXPECT_FALSE(TakeTimed());
}

TEST_F(SubscriberTest, WakeEndsAWaitingConsumer) {
    CConsumer consumer(queue);
    ASSERT_TRUE(clock->AwaitWaiters(1));
    EXPECT_TRUE(queue.Wake());
    EXPECT_FALSE(consumer.Took());
}

TEST_F(SubscriberTest, WakeEndsAWaitingTimedConsumerWithoutIdle) {
    CConsumer consumer(timed);
    ASSERT_TRUE(clock->AwaitWaiters(1));
    EXPECT_TRUE(timed.Wake());
    EXPECT_FALSE(consumer.Took());
    EXPECT_FALSE(timed.IsIdle());
}

TEST_F(SubscriberTest, WakeWithAQueuedMessageReturnsFalseAndChangesNothing) {
    // Timed, so that it counts as waiting: only the message keeps Wake from waking.
    timed.Push(MakeMessage("A"), {});
    EXPECT_FALSE(timed.Wake());
    ASSERT_TRUE(TakeTimed());
    EXPECT_EQ(message->GetName(), "A");
}

TEST_F(SubscriberTest, WakeBeforeAnybodyHasWaitedReturnsFalse) {
    EXPECT_FALSE(queue.Wake());
}

TEST_F(SubscriberTest, WakeOfABusyConsumerReturnsFalse) {
    Push("A");
    EXPECT_TRUE(Take());
    EXPECT_FALSE(queue.Wake());
}

TEST_F(SubscriberTest, TimedQueueCountsAsWaitingFromTheBeginning) {
    EXPECT_TRUE(timed.Wake());
    EXPECT_FALSE(TakeTimed());
}

TEST_F(SubscriberTest, WakeEndsOneTakeOnly) {
    EXPECT_TRUE(timed.Wake());
    EXPECT_FALSE(TakeTimed());
    timed.Push(MakeMessage("A"), {});
    EXPECT_TRUE(TakeTimed());
}

TEST_F(SubscriberTest, WakeIsServedBeforeAQueuedMessage) {
    EXPECT_TRUE(timed.Wake());
    timed.Push(MakeMessage("A"), {});
    EXPECT_FALSE(TakeTimed());
    EXPECT_EQ(timed.GetQueueSize(), 1u);
}

TEST_F(SubscriberTest, WakeOfAnIdleQueueClearsIdleInstead) {
    LetTimedQueueGoIdle();
    EXPECT_TRUE(timed.Wake());
    EXPECT_FALSE(timed.IsIdle());
    timed.Push(MakeMessage("A"), {});
    EXPECT_EQ(idleEnds, 0);
    EXPECT_TRUE(TakeTimed());
}

TEST_F(SubscriberTest, ConsumerThatGaveUpStillCountsAsWaiting) {
    CConsumer consumer(queue);
    ASSERT_TRUE(clock->AwaitWaiters(1));
    EXPECT_TRUE(queue.Wake());
    EXPECT_FALSE(consumer.Took());
    EXPECT_TRUE(queue.Wake());
}

TEST_F(SubscriberTest, InterruptedConsumerLeaves) {
    CConsumer consumer(queue);
    ASSERT_TRUE(clock->AwaitWaiters(1));
    consumer.Interrupt();
    EXPECT_TRUE(consumer.WasInterrupted());
}

TEST_F(SubscriberTest, RearmedEmptyQueueIsIdle) {
    timed.Rearm();
    EXPECT_TRUE(timed.IsIdle());
    EXPECT_EQ(idleEnds, 0);
}

TEST_F(SubscriberTest, RearmWithQueuedMessagesCallsTheCallbackNow) {
    LetTimedQueueGoIdle();
    timed.Push(MakeMessage("A"), {});
    EXPECT_EQ(idleEnds, 1);
    timed.Rearm();
    EXPECT_EQ(idleEnds, 2);
    EXPECT_FALSE(timed.IsIdle());
}

TEST_F(SubscriberTest, CallbackOfARearmRunsWithoutTheLockToo) {
    std::size_t sizeSeen = 0;
    CSubscriber* self = nullptr;
    CSubscriber reentrant("R", clock, [&] { sizeSeen = self->GetQueueSize(); });
    self = &reentrant;
    reentrant.Push(MakeMessage("A"), {});
    reentrant.Rearm();
    EXPECT_EQ(sizeSeen, 1u);
}

TEST_F(SubscriberTest, RearmOfAnUntimedQueueDoesNothing) {
    queue.Rearm();
    EXPECT_FALSE(queue.IsIdle());
}

class SubscriberWaitTest : public SubscriberTest {
  protected:
    bool Signalled(const std::string& name) {
        scripted.Push(MakeMessage(name), {});
        return true;
    }
    bool TakeScripted() { return scripted.WaitForMessage(message, context); }

    const boost::shared_ptr<CScriptedWaits> waits = boost::make_shared<CScriptedWaits>();
    CSubscriber scripted{"S", waits, [this] { ++idleEnds; }};
    CSubscriber untimed{"U", waits};
};

TEST_F(SubscriberWaitTest, MessageThatComesWithTheTimeOutIsTaken) {
    waits->actions = {[this] {
        Signalled("A");
        return false;
    }};
    ASSERT_TRUE(TakeScripted());
    EXPECT_EQ(message->GetName(), "A");
    EXPECT_FALSE(scripted.IsIdle());
}

TEST_F(SubscriberWaitTest, WakeThatComesWithTheTimeOutLeavesNoIdle) {
    waits->actions = {[this] { return !scripted.Wake(); }};
    EXPECT_FALSE(TakeScripted());
    EXPECT_FALSE(scripted.IsIdle());
}

TEST_F(SubscriberWaitTest, WakeUpWithoutAReasonWaitsFiveSecondsAgain) {
    waits->actions = {[] { return true; }, [] { return true; }, [this] { return Signalled("A"); }};
    EXPECT_TRUE(TakeScripted());
    EXPECT_THAT(waits->timeouts,
                ElementsAre(milliseconds(5000), milliseconds(5000), milliseconds(5000)));
}

TEST_F(SubscriberWaitTest, WakeIsServedBeforeTheMessageThatFollowsIt) {
    waits->actions = {[this] { return scripted.Wake() && Signalled("A"); }};
    EXPECT_FALSE(TakeScripted());
    EXPECT_EQ(scripted.GetQueueSize(), 1u);
    EXPECT_FALSE(scripted.IsIdle());
    EXPECT_TRUE(TakeScripted());
}

TEST_F(SubscriberWaitTest, UntimedConsumerSleepsOnAfterAWakeUpWithoutAReason) {
    waits->actions = {[] { return true; }, [this] { return untimed.Wake(); }};
    EXPECT_FALSE(untimed.WaitForMessage(message, context));
    EXPECT_THAT(waits->timeouts, ElementsAre(milliseconds(0), milliseconds(0)));
}

TEST_F(SubscriberTest, DumpOfAnEmptyQueueIsEmpty) {
    EXPECT_EQ(queue.Dump(), "");
}

TEST_F(SubscriberTest, DumpNamesTheQueuedMessages) {
    Push("A");
    EXPECT_EQ(queue.Dump(), "M:A");
    Push("B");
    EXPECT_EQ(queue.Dump(), "M:A,B");
}

TEST_F(SubscriberTest, VisitorSeesEveryQueuedMessageInOrder) {
    Push("A");
    Push("B");
    std::vector<std::string> seen;
    queue.VisitPendingMessages(
        [&seen](const CSubscriber::Message& visited) { seen.push_back(visited->GetName()); });
    EXPECT_THAT(seen, ElementsAre("A", "B"));
    EXPECT_EQ(queue.GetQueueSize(), 2u);
}

TEST_F(SubscriberTest, EmptyVisitorThrowsOnTheFirstMessage) {
    EXPECT_NO_THROW(queue.VisitPendingMessages({}));
    Push("A");
    EXPECT_THROW(queue.VisitPendingMessages({}), boost::bad_function_call);
}

TEST_F(SubscriberTest, ReceivedCountNeverGoesDown) {
    EXPECT_EQ(queue.GetReceivedCount(), 0u);
    Push("A");
    Push("B");
    EXPECT_TRUE(Take());
    EXPECT_EQ(queue.GetReceivedCount(), 2u);
    EXPECT_EQ(queue.GetQueueSize(), 1u);
}

TEST_F(SubscriberTest, ManyPushersLoseNothing) {
    boost::thread_group pushers;
    for (int pusher = 0; pusher < 4; ++pusher) {
        pushers.create_thread([this] {
            for (int count = 0; count < 50; ++count) {
                Push("A");
            }
        });
    }
    int taken = 0;
    while (taken < 200 && Take()) {
        ++taken;
    }
    pushers.join_all();
    EXPECT_EQ(taken, 200);
    EXPECT_EQ(queue.GetReceivedCount(), 200u);
    EXPECT_EQ(queue.GetQueueSize(), 0u);
}

}  // namespace
}  // namespace Kyr::Common::Module
