#include <atomic>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/thread.hpp>

#include "connector/DeliveryContext.h"
#include "connector/MessageProcessorThreadHolder.h"
#include "tests/connector/LastingContext.h"
#include "tests/support/VirtualSlot.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/TestMessage.h"
#include "tests/support/time/Await.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::Common {
namespace {

using namespace Kyr::Test;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

/// Remembers what it processed, on which thread and with which context.
class CRecordingProcessor : public Kyr::Common::Module::IMessageProcessor {
  public:
    void Process(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) override {
        boost::unique_lock<boost::mutex> lock(mutex_);
        names_.push_back(message->GetName());
        threads_.push_back(boost::this_thread::get_id());
        contexts_.push_back(GetDeliveryContext());
        while (blocked_) {
            unblocked_.wait(lock);
        }
        lock.unlock();
        if (message->GetName() == "bad") {
            throw std::runtime_error("cannot process");
        }
        if (message->GetName() == "odd") {
            throw 42;
        }
        if (message->GetName() == "until the end") {
            EXPECT_TRUE(Kyr::Test::AwaitInterruption());
        }
    }

    void SetBlocked(bool blocked) {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        blocked_ = blocked;
        unblocked_.notify_all();
    }
    std::vector<std::string> Names() {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return names_;
    }
    std::vector<boost::thread::id> Threads() {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return threads_;
    }
    std::vector<boost::shared_ptr<Kyr::Common::Kernel::IDeliveryContext>> Contexts() {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return contexts_;
    }

    void ForgetContexts() {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        contexts_.clear();
    }

  private:
    boost::mutex mutex_;
    boost::condition_variable unblocked_;
    bool blocked_ = false;
    std::vector<std::string> names_;
    std::vector<boost::thread::id> threads_;
    std::vector<boost::shared_ptr<Kyr::Common::Kernel::IDeliveryContext>> contexts_;
};

class MessageProcessorThreadHolderTest : public testing::Test {
  protected:
    void Push(const std::string& name) { subscriber->Push(MakeMessage(name), {}); }
    bool AwaitProcessed(std::size_t count) {
        return Await([this, count] { return processor.Names().size() == count; });
    }
    /// The first message, processed, with its thread waiting for the next one.
    void RunOnce() {
        holder->Resume();
        Push("A");
        ASSERT_TRUE(AwaitProcessed(1));
        ASSERT_TRUE(clock->AwaitWaiters(1));
    }
    void LetThreadEnd() {
        clock->Advance(seconds(5));
        ASSERT_TRUE(clock->AwaitWaiters(0));
        ASSERT_TRUE(Await([this] { return subscriber->IsIdle(); }));
    }

    const boost::shared_ptr<CManualClock> clock = boost::make_shared<CManualClock>();
    CCapturingLogger logger;
    CRecordingProcessor processor;
    std::unique_ptr<CMessageProcessorThreadHolder> holder =
        std::make_unique<CMessageProcessorThreadHolder>(logger, "M", processor, clock);
    const boost::shared_ptr<Kyr::Common::Module::CSubscriber> subscriber = holder->GetSubscriber();
};

/// A context that is let go by the ending thread, and then waits for the interruption of that
/// thread and makes one more push.
class CPushingContext : public Kyr::Common::Kernel::IDeliveryContext {
  public:
    CPushingContext(std::atomic<bool>& reached, std::function<void()> push)
        : reached_(reached), push_(std::move(push)) {}
    CPushingContext(const CPushingContext&) = delete;
    CPushingContext& operator=(const CPushingContext&) = delete;
    ~CPushingContext() override {
        reached_ = true;
        EXPECT_TRUE(Kyr::Test::AwaitInterruption());
        push_();
    }

  private:
    std::atomic<bool>& reached_;
    const std::function<void()> push_;
};

/// A thread that has begun to end, and does not get to the end before goOn is set.
class EndingThreadTest : public MessageProcessorThreadHolderTest {
  protected:
    void SetUp() override {
        holder->Resume();
        subscriber->Push(MakeMessage("A"), boost::make_shared<CLastingContext>(ending, goOn));
        ASSERT_TRUE(AwaitProcessed(1));
        processor.ForgetContexts();
        ASSERT_TRUE(clock->AwaitWaiters(1));
        LetThreadEnd();
        ASSERT_TRUE(Await([this] { return ending.load(); }));
    }

    std::atomic<bool> ending{false};
    std::atomic<bool> goOn{false};
};

TEST_F(EndingThreadTest, IsJoinedBeforeThereIsAnother) {
    boost::thread pusher([this] { Push("B"); });
    ASSERT_TRUE(Await([this] { return subscriber->GetReceivedCount() == 2; }));
    EXPECT_FALSE(pusher.try_join_for(boost::chrono::milliseconds(50)));
    EXPECT_THAT(processor.Names(), ElementsAre("A"));
    goOn = true;
    pusher.join();
    EXPECT_TRUE(AwaitProcessed(2));
}

TEST_F(EndingThreadTest, ResumeWaitsForAHaltThatIsUnderWay) {
    std::atomic<bool> halted{false};
    std::atomic<unsigned> resumptions{0};
    boost::thread halter([&] {
        holder->Halt();
        halted = true;
    });
    boost::thread resumer([&] {
        while (!halted) {
            holder->Resume();
            ++resumptions;
            boost::this_thread::yield();
        }
    });
    // As soon as Halt is under way, no Resume returns any more.
    EXPECT_TRUE(Await([&] {
        const unsigned before = resumptions;
        boost::this_thread::sleep_for(boost::chrono::milliseconds(200));
        return resumptions == before;
    }));
    EXPECT_FALSE(halted);
    goOn = true;
    halter.join();
    resumer.join();
}

TEST_F(MessageProcessorThreadHolderTest, NewHolderHasNoThread) {
    Push("A");
    EXPECT_EQ(subscriber->GetQueueSize(), 1u);
    EXPECT_TRUE(clock->AwaitWaiters(0));
    EXPECT_THAT(processor.Names(), IsEmpty());
}

TEST_F(MessageProcessorThreadHolderTest, QueueCarriesTheModulesName) {
    Push("A");
    EXPECT_EQ(subscriber->Dump(), "M:A");
}

TEST_F(MessageProcessorThreadHolderTest, ResumeOfAnEmptyQueueStartsNothingYet) {
    holder->Resume();
    EXPECT_TRUE(subscriber->IsIdle());
    EXPECT_TRUE(clock->AwaitWaiters(0));
}

TEST_F(MessageProcessorThreadHolderTest, FirstMessageAfterResumeStartsTheThread) {
    RunOnce();
    EXPECT_THAT(processor.Names(), ElementsAre("A"));
    EXPECT_NE(processor.Threads()[0], boost::this_thread::get_id());
}

TEST_F(MessageProcessorThreadHolderTest, ResumeStartsTheThreadForQueuedMessages) {
    Push("A");
    Push("B");
    holder->Resume();
    ASSERT_TRUE(AwaitProcessed(2));
    EXPECT_THAT(processor.Names(), ElementsAre("A", "B"));
}

TEST_F(MessageProcessorThreadHolderTest, ResumeOfARunningThreadChangesNothing) {
    RunOnce();
    holder->Resume();
    EXPECT_FALSE(subscriber->IsIdle());
    Push("B");
    ASSERT_TRUE(AwaitProcessed(2));
    EXPECT_EQ(processor.Threads()[0], processor.Threads()[1]);
}

TEST_F(MessageProcessorThreadHolderTest, ThreadPublishesWithTheContextOfItsMessage) {
    holder->Resume();
    const auto context = MakeContext();
    subscriber->Push(MakeMessage("A"), context);
    Push("B");
    ASSERT_TRUE(AwaitProcessed(2));
    EXPECT_THAT(processor.Contexts(), ElementsAre(context, nullptr));
}

TEST_F(MessageProcessorThreadHolderTest, ThreadStaysForFiveSecondsWithoutMessages) {
    RunOnce();
    clock->Advance(milliseconds(4999));
    EXPECT_TRUE(clock->AwaitWaiters(1));
    Push("B");
    ASSERT_TRUE(AwaitProcessed(2));
    EXPECT_EQ(processor.Threads()[0], processor.Threads()[1]);
}

TEST_F(MessageProcessorThreadHolderTest, ThreadThatEndedIsReplacedByTheNextMessage) {
    RunOnce();
    LetThreadEnd();
    Push("B");
    ASSERT_TRUE(AwaitProcessed(2));
    EXPECT_THAT(processor.Names(), ElementsAre("A", "B"));
    EXPECT_THAT(logger.Capture().Lines(), IsEmpty());
}

TEST_F(MessageProcessorThreadHolderTest, FailedMessageIsLoggedAndTheNextOneProcessed) {
    holder->Resume();
    Push("bad");
    Push("B");
    ASSERT_TRUE(AwaitProcessed(2));
    EXPECT_THAT(logger.Capture().Lines(), ElementsAre("4 cannot process"));
}

TEST_F(MessageProcessorThreadHolderTest, FailureOfAForeignKindIsLoggedAndTheNextOneProcessed) {
    holder->Resume();
    Push("odd");
    Push("B");
    ASSERT_TRUE(AwaitProcessed(2));
    EXPECT_THAT(logger.Capture().Lines(),
                ElementsAre("4 Message processing failed with an unknown exception"));
}

TEST_F(MessageProcessorThreadHolderTest, InterruptedThreadLeavesBeforeTheNextMessage) {
    holder->Resume();
    Push("until the end");
    Push("B");
    ASSERT_TRUE(AwaitProcessed(1));
    holder.reset();
    EXPECT_THAT(processor.Names(), ElementsAre("until the end"));
    EXPECT_THAT(logger.Capture().Lines(),
                ElementsAre("1 There were 1 messages left unprocessed in a queue"));
}

TEST_F(MessageProcessorThreadHolderTest, HaltWithoutAThreadReturnsAtOnce) {
    holder->Halt();
    holder->Resume();
    holder->Halt();
    EXPECT_TRUE(clock->AwaitWaiters(0));
}

TEST_F(MessageProcessorThreadHolderTest, HaltWaitsUntilTheQueueHasBeenEmptyForFiveSeconds) {
    RunOnce();
    bool halted = false;
    boost::thread halter([&] {
        holder->Halt();
        halted = true;
    });
    clock->Advance(milliseconds(4999));
    EXPECT_TRUE(clock->AwaitWaiters(1));
    clock->Advance(milliseconds(1));
    halter.join();
    EXPECT_TRUE(halted);
    EXPECT_TRUE(subscriber->IsIdle());
    EXPECT_THAT(logger.Capture().Lines(), IsEmpty());
}

TEST_F(MessageProcessorThreadHolderTest, HaltedHolderStartsAgainWithTheNextMessage) {
    RunOnce();
    boost::thread halter([&] { holder->Halt(); });
    clock->Advance(seconds(5));
    halter.join();
    Push("B");
    ASSERT_TRUE(AwaitProcessed(2));
}

TEST_F(MessageProcessorThreadHolderTest, InterruptedHalterStillWaitsForTheThread) {
    RunOnce();
    bool threadWasGone = false;
    boost::thread halter([&] {
        holder->Halt();
        threadWasGone = clock->AwaitWaiters(0);
    });
    halter.interrupt();
    clock->Advance(seconds(5));
    halter.join();
    EXPECT_TRUE(threadWasGone);
}

TEST_F(MessageProcessorThreadHolderTest, DestructorInterruptsAWaitingThread) {
    RunOnce();
    holder.reset();
    EXPECT_TRUE(clock->AwaitWaiters(0));
    EXPECT_THAT(logger.Capture().Lines(),
                ElementsAre("1 There were 0 messages left unprocessed in a queue"));
}

TEST_F(MessageProcessorThreadHolderTest, DestructorLeavesQueuedMessagesAndCountsThem) {
    processor.SetBlocked(true);
    holder->Resume();
    Push("A");
    Push("B");
    Push("C");
    ASSERT_TRUE(AwaitProcessed(1));
    holder.reset();
    EXPECT_THAT(processor.Names(), ElementsAre("A"));
    EXPECT_THAT(logger.Capture().Lines(),
                ElementsAre("1 There were 2 messages left unprocessed in a queue"));
}

TEST_F(MessageProcessorThreadHolderTest, DestructorOfAnEndedThreadWritesNothing) {
    RunOnce();
    LetThreadEnd();
    holder.reset();
    EXPECT_THAT(logger.Capture().Lines(), IsEmpty());
}

TEST_F(MessageProcessorThreadHolderTest, PushAfterTheHoldersEndOnlyQueues) {
    RunOnce();
    LetThreadEnd();
    holder.reset();
    ASSERT_TRUE(subscriber->IsIdle());
    Push("B");
    EXPECT_EQ(subscriber->GetQueueSize(), 1u);
    EXPECT_THAT(processor.Names(), ElementsAre("A"));
}

TEST_F(MessageProcessorThreadHolderTest, EndingThreadMayPushWhileTheDestructorWaitsForIt) {
    std::atomic<bool> ending{false};
    holder->Resume();
    subscriber->Push(MakeMessage("A"),
                     boost::make_shared<CPushingContext>(ending, [this] { Push("B"); }));
    ASSERT_TRUE(AwaitProcessed(1));
    processor.ForgetContexts();
    ASSERT_TRUE(clock->AwaitWaiters(1));
    LetThreadEnd();
    ASSERT_TRUE(Await([&] { return ending.load(); }));
    holder.reset();
    EXPECT_EQ(subscriber->GetQueueSize(), 1u);
    EXPECT_THAT(processor.Names(), ElementsAre("A"));
}

TEST_F(MessageProcessorThreadHolderTest, PushesMayRaceWithIdleThreadsAndTheEnd) {
    holder->Resume();
    boost::thread_group pushers;
    for (int pusher = 0; pusher < 3; ++pusher) {
        pushers.create_thread([this] {
            for (int count = 0; count < 100; ++count) {
                Push("A");
                clock->Advance(seconds(5));
            }
        });
    }
    ASSERT_TRUE(Await([this] { return subscriber->GetReceivedCount() > 100; }));
    holder.reset();
    pushers.join_all();
    EXPECT_EQ(subscriber->GetReceivedCount(), 300u);
    EXPECT_EQ(subscriber->GetQueueSize() + processor.Names().size(), 300u);
}

TEST_F(MessageProcessorThreadHolderTest, OperationsStandInTheirOrder) {
    using Holder = CConnectorModule::IMessageProcessorThreadHolder;
    EXPECT_EQ(VirtualSlot(&Holder::Resume), 1);
    EXPECT_EQ(VirtualSlot(&Holder::Halt), 2);
    EXPECT_EQ(VirtualSlot(&Kyr::Common::Module::IMessageProcessor::Process), 1);
}

}  // namespace
}  // namespace Kyr::Connectors::Common
