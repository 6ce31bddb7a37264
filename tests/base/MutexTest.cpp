#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <stdexcept>

#include <boost/thread/thread.hpp>

#include "base/Mutex.h"

namespace Kyr::Base {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

/// Another thread that takes the mutex and gives it back at once.
class CCompetitor {
  public:
    explicit CCompetitor(CMutex& mutex)
        : thread_([&mutex, taken = taken_] {
              const CLock lock(mutex);
              *taken = true;
          }) {}
    ~CCompetitor() { thread_.join(); }
    CCompetitor(const CCompetitor&) = delete;
    CCompetitor& operator=(const CCompetitor&) = delete;

    /// Long enough for a free mutex to be taken.
    bool HasToWait() {
        thread_.try_join_for(boost::chrono::milliseconds(20));
        return !*taken_;
    }

  private:
    const std::shared_ptr<std::atomic<bool>> taken_ = std::make_shared<std::atomic<bool>>(false);
    boost::thread thread_;
};

/// Does not return before the mutex is free.
void AwaitFree(CMutex& mutex) {
    const CCompetitor competitor(mutex);
}

class MutexTest : public testing::Test {
  protected:
    /// Waits with `wait` until another thread, which needs the lock for it, has notified.
    void AwaitNotice(const std::function<void(CLock&)>& wait) {
        bool done = false;
        CLock lock(mutex_);
        boost::thread other([&] {
            const CLock own(mutex_);
            done = true;
            condition_.NotifyAll();
        });
        while (!done) {
            wait(lock);
        }
        lock.Unlock();
        other.join();
    }

    CMutex mutex_;
    std::optional<CCompetitor> competitor_;  // waits behind the locks of a test
    CCondition condition_;
};

TEST_F(MutexTest, LockHoldsTheMutexUntilItEnds) {
    {
        const CLock lock(mutex_);
        EXPECT_TRUE(lock.IsHeld());
        competitor_.emplace(mutex_);
        EXPECT_TRUE(competitor_->HasToWait());
    }
    AwaitFree(mutex_);
}

TEST_F(MutexTest, LockThatIsGivenBackEarlyIsNotReleasedTwice) {
    {
        CLock lock(mutex_);
        lock.Unlock();
        EXPECT_FALSE(lock.IsHeld());
        AwaitFree(mutex_);
    }
    AwaitFree(mutex_);
}

TEST_F(MutexTest, LockThatIsTakenAgainIsReleasedAtItsEnd) {
    {
        CLock lock(mutex_);
        lock.Unlock();
        lock.Lock();
        EXPECT_TRUE(lock.IsHeld());
        competitor_.emplace(mutex_);
        EXPECT_TRUE(competitor_->HasToWait());
    }
    AwaitFree(mutex_);
}

TEST_F(MutexTest, MutexIsFreeWhileItIsGivenBackAndHeldAfterwards) {
    const CLock lock(mutex_);
    {
        const CUnlock free(mutex_);
        AwaitFree(mutex_);
    }
    competitor_.emplace(mutex_);
    EXPECT_TRUE(competitor_->HasToWait());
}

TEST_F(MutexTest, ExceptionOutOfAPauseLeavesTheMutexFree) {
    try {
        const CLock lock(mutex_);
        const CUnlock free(mutex_);
        throw std::runtime_error("left early");
    } catch (const std::runtime_error&) {
        AwaitFree(mutex_);
    }
}

TEST_F(MutexTest, NotifiedWaiterHoldsTheLockAgain) {
    AwaitNotice([this](CLock& lock) {
        condition_.Wait(lock);
        EXPECT_TRUE(lock.IsHeld());
    });
}

TEST_F(MutexTest, WaitIsFalseWhenItsTimeHasPassed) {
    CLock lock(mutex_);
    while (condition_.WaitFor(lock, milliseconds(1))) {
        // Woken without a reason.
    }
    EXPECT_TRUE(lock.IsHeld());
}

TEST_F(MutexTest, WaitThatIsNotifiedInTimeIsTrue) {
    bool inTime = false;
    AwaitNotice([&](CLock& lock) { inTime = condition_.WaitFor(lock, hours(1)); });
    EXPECT_TRUE(inTime);
}

TEST_F(MutexTest, InterruptedWaiterHoldsTheLockWhileItLeaves) {
    bool held = false;
    boost::thread waiter([&] {
        CLock lock(mutex_);
        try {
            while (true) {
                condition_.Wait(lock);
            }
        } catch (const boost::thread_interrupted&) {
            held = lock.IsHeld();
        }
    });
    waiter.interrupt();
    waiter.join();
    EXPECT_TRUE(held);
    AwaitFree(mutex_);
}

}  // namespace
}  // namespace Kyr::Base
