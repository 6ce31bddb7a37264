// What only a thread meets that is late: everything else is tested through its holder.
#include <atomic>
#include <gmock/gmock.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "connector/ReplyThread.h"
#include "tests/support/AllocationWatch.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/TestMessage.h"
#include "tests/support/time/Await.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Common::Module::CSubscriber;
using testing::ElementsAre;
using testing::IsEmpty;

class CCountingProcessor : public Kyr::Common::Module::IMessageProcessor {
  public:
    void Process(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& /*message*/) override {
        ++processed;
    }

    std::atomic<int> processed{0};
};

/// Its next timed wait fails; all others have to be ended by a message.
class CFailingClock : public Base::IClock {
  public:
    std::int64_t CalendarTime() const override { return 0; }
    void SleepFor(std::chrono::milliseconds /*duration*/) override {}
    void Wait(Base::CCondition& condition, Base::CLock& lock) override { condition.Wait(lock); }
    bool WaitFor(Base::CCondition& condition, Base::CLock& lock,
                 std::chrono::milliseconds /*timeout*/) override {
        if (!failed.exchange(true)) {
            throw std::runtime_error("no time");
        }
        condition.Wait(lock);
        return true;
    }

    std::atomic<bool> failed{false};
};

TEST(ReplyThreadTest, QueueWhoseThreadEndedByAFailureIsTakenByTheNext) {
    Kyr::Test::CCapturingLogger logger;
    CCountingProcessor processor;
    CReplyThread thread(logger, processor);
    const auto queue = boost::make_shared<CSubscriber>("M", boost::make_shared<CFailingClock>(),
                                                       [&] { thread.OnIdleEnded(); });
    thread.SetQueue(queue);
    thread.Resume();
    queue->Push(Kyr::Test::MakeMessage("A"), {});
    ASSERT_TRUE(Kyr::Test::Await([&] { return queue->IsIdle(); }));
    queue->Push(Kyr::Test::MakeMessage("B"), {});
    EXPECT_TRUE(Kyr::Test::Await([&] { return processor.processed == 2; }));
    thread.End();
    EXPECT_THAT(logger.Capture().Lines(),
                ElementsAre("4 no time", "1 There were 0 messages left unprocessed in a queue"));
}

thread_local bool isTestsOwn = false;
std::atomic<int> allocationsBefore{0};  // on other threads, until one of them fails

bool JudgeAllocation() noexcept {
    return isTestsOwn || allocationsBefore.fetch_sub(1) != 0;
}

TEST(ReplyThreadTest, NoMessageIsLostWhicheverAllocationOfTheThreadFails) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    isTestsOwn = true;
    int before = 0;
    for (bool failed = true; failed && !HasFailure(); ++before) {
        SCOPED_TRACE(before);
        Kyr::Test::CCapturingLogger logger;
        CCountingProcessor processor;
        CReplyThread thread(logger, processor);
        const auto clock = boost::make_shared<Kyr::Test::CManualClock>();
        const auto queue =
            boost::make_shared<CSubscriber>("M", clock, [&] { thread.OnIdleEnded(); });
        thread.SetQueue(queue);
        thread.Resume();
        allocationsBefore = before;
        Kyr::Test::SetAllocationJudge(JudgeAllocation);
        queue->Push(Kyr::Test::MakeMessage("A"), {});
        EXPECT_TRUE(Kyr::Test::Await([&] { return processor.processed == 1 || queue->IsIdle(); }));
        Kyr::Test::SetAllocationJudge(nullptr);
        failed = allocationsBefore < 0;
        queue->Push(Kyr::Test::MakeMessage("B"), {});
        EXPECT_TRUE(Kyr::Test::Await([&] { return processor.processed == 2 || queue->IsIdle(); }));
        int pushed = 2;
        if (processor.processed !=
            pushed) {  // it met the thread's end: the next push takes it along
            queue->Push(Kyr::Test::MakeMessage("C"), {});
            ++pushed;
        }
        EXPECT_TRUE(Kyr::Test::Await([&] { return processor.processed == pushed; }));
        thread.End();
    }
    EXPECT_GE(before, 2);  // the place for contexts, if nothing else, was asked for
}

// The push has copied the queue's callback before a Resume started a thread for its message, and
// gets the lock after it.
TEST(ReplyThreadTest, PushThatIsLaterThanAResumeDoesNotWaitForItsThread) {
    Kyr::Test::CCapturingLogger logger;
    CCountingProcessor processor;
    CReplyThread thread(logger, processor);
    const auto clock = boost::make_shared<Kyr::Test::CManualClock>();
    const auto queue = boost::make_shared<CSubscriber>("M", clock, [&] { thread.OnIdleEnded(); });
    thread.SetQueue(queue);
    queue->Push(Kyr::Test::MakeMessage("A"), {});
    thread.Resume();
    ASSERT_TRUE(clock->AwaitWaiters(1));
    std::atomic<bool> returned{false};
    boost::thread push([&] {
        thread.OnIdleEnded();
        returned = true;
    });
    EXPECT_TRUE(Kyr::Test::Await([&] { return returned.load(); }));
    EXPECT_EQ(processor.processed, 1);
    clock->Advance(std::chrono::seconds(5));  // lets a push go that waits all the same
    push.join();
    thread.End();
}

// The push has copied the queue's callback before End dropped it, and gets the lock after End.
TEST(ReplyThreadTest, PushThatIsLaterThanTheEndStartsNothing) {
    Kyr::Test::CCapturingLogger logger;
    CCountingProcessor processor;
    CReplyThread thread(logger, processor);
    const auto queue =
        boost::make_shared<CSubscriber>("M", boost::make_shared<Kyr::Test::CManualClock>(), [] {});
    thread.SetQueue(queue);
    queue->Push(Kyr::Test::MakeMessage("A"), {});
    thread.End();
    thread.OnIdleEnded();
    thread.End();  // a thread that is there takes the message or says that it did not
    EXPECT_EQ(processor.processed, 0);
    EXPECT_THAT(logger.Capture().Lines(), IsEmpty());
}

}  // namespace
}  // namespace Kyr::Connectors::Common
