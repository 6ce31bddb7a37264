// The real clock: the few waits here are milliseconds, and bounds are one-sided, so that a loaded
// machine cannot fail them.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>

#include <boost/thread/thread.hpp>

#include "base/Clock.h"
#include "base/Mutex.h"

namespace Kyr::Base {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using std::chrono::system_clock;

class ASystemClock : public ::testing::Test {
  protected:
    /// Runs the action on a thread that is interrupted at once; true when that ended the action.
    static bool EndsWhenInterrupted(const std::function<void()>& action) {
        std::atomic<bool> interrupted{false};
        boost::thread thread([&] {
            try {
                action();
            } catch (const boost::thread_interrupted&) {
                interrupted = true;
            }
        });
        thread.interrupt();
        thread.join();
        return interrupted;
    }

    /// Waits with `wait` until another thread, which needs the lock for it, has signalled.
    void AwaitSignal(const std::function<void(CLock&)>& wait) {
        CLock lock(mutex_);
        boost::thread thread([this] {
            const CLock own(mutex_);
            signalled_ = true;
            condition_.NotifyOne();
        });
        while (!signalled_) {
            wait(lock);
        }
        lock.Unlock();
        thread.join();
    }

    boost::shared_ptr<IClock> clock_ = SystemClock();
    CMutex mutex_;
    CCondition condition_;
    bool signalled_ = false;
};

TEST_F(ASystemClock, IsOneForTheProcess) {
    EXPECT_EQ(SystemClock().get(), SystemClock().get());
}

TEST_F(ASystemClock, CalendarTimeIsTheSystemsInWholeSeconds) {
    // Not std::time: it tells the time of the system's last tick, which may be a second behind.
    const auto before = system_clock::now();
    const std::int64_t now = clock_->CalendarTime();
    const auto after = system_clock::now();
    EXPECT_LE(std::chrono::floor<seconds>(before).time_since_epoch().count(), now);
    EXPECT_LE(now, std::chrono::floor<seconds>(after).time_since_epoch().count());
}

TEST_F(ASystemClock, SleepLastsAtLeastItsDuration) {
    const auto start = steady_clock::now();
    clock_->SleepFor(milliseconds(5));
    EXPECT_GE(steady_clock::now() - start, milliseconds(5));
}

TEST_F(ASystemClock, SleepOfNothingReturnsAtOnce) {
    clock_->SleepFor(milliseconds(0));
    clock_->SleepFor(milliseconds(-1));
}

TEST_F(ASystemClock, SleepEndsWhenInterrupted) {
    EXPECT_TRUE(EndsWhenInterrupted([this] { clock_->SleepFor(hours(1)); }));
}

TEST_F(ASystemClock, SleepOfNothingIsAnInterruptionPoint) {
    EXPECT_TRUE(EndsWhenInterrupted([this] {
        while (true) {
            clock_->SleepFor(milliseconds(0));
        }
    }));
}

TEST_F(ASystemClock, SleepOfLessThanNothingIsAnInterruptionPoint) {
    EXPECT_TRUE(EndsWhenInterrupted([this] {
        while (true) {
            clock_->SleepFor(milliseconds(-1));
        }
    }));
}

TEST_F(ASystemClock, WaitEndsWhenInterrupted) {
    EXPECT_TRUE(EndsWhenInterrupted([this] {
        CLock lock(mutex_);
        while (true) {
            clock_->Wait(condition_, lock);
        }
    }));
}

TEST_F(ASystemClock, TimedWaitEndsWhenInterrupted) {
    EXPECT_TRUE(EndsWhenInterrupted([this] {
        CLock lock(mutex_);
        while (true) {
            clock_->WaitFor(condition_, lock, hours(1));
        }
    }));
}

TEST_F(ASystemClock, InterruptedWaitHoldsItsLockAgain) {
    boost::thread thread([this] {
        CLock lock(mutex_);
        try {
            while (true) {
                clock_->WaitFor(condition_, lock, hours(1));
            }
        } catch (const boost::thread_interrupted&) {
            EXPECT_TRUE(lock.IsHeld());
        }
    });
    thread.interrupt();
    thread.join();
}

TEST_F(ASystemClock, WaitEndsWhenSignalled) {
    AwaitSignal([this](CLock& lock) { clock_->Wait(condition_, lock); });
    EXPECT_TRUE(signalled_);
}

TEST_F(ASystemClock, TimedWaitThatIsSignalledIsTrue) {
    bool inTime = false;
    AwaitSignal([&](CLock& lock) { inTime = clock_->WaitFor(condition_, lock, hours(1)); });
    EXPECT_TRUE(inTime);
}

TEST_F(ASystemClock, TimedWaitWithoutSignalIsFalseWhenTheTimeHasPassed) {
    CLock lock(mutex_);
    const auto start = steady_clock::now();
    while (clock_->WaitFor(condition_, lock, milliseconds(5))) {
        // Woken without a reason, which is allowed.
    }
    EXPECT_GE(steady_clock::now() - start, milliseconds(5));
    EXPECT_TRUE(lock.IsHeld());
}

}  // namespace
}  // namespace Kyr::Base
