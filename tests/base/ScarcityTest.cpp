// A system that has no room left for what a wait or a sleep takes.
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <boost/thread/thread.hpp>

#include "base/Clock.h"
#include "base/Mutex.h"

namespace {

// The calls of this thread fail.
thread_local bool noLocks = false;
thread_local bool noWaits = false;
std::atomic<int> failures{0};

template <typename Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool Fails(bool scarce) {
    failures += scarce ? 1 : 0;
    return scarce;
}

}  // namespace

// All code of this process calls these in place of the system's.
extern "C" {

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    static const auto system =
        Next<int (*)(pthread_mutex_t*, const pthread_mutexattr_t*)>("pthread_mutex_init");
    return Fails(noLocks) ? ENOMEM : system(mutex, attributes);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    static const auto system =
        Next<int (*)(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
    return Fails(noWaits) ? ENOMEM : system(condition, mutex);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                           const timespec* time) {
    static const auto system =
        Next<int (*)(pthread_cond_t*, pthread_mutex_t*, const timespec*)>("pthread_cond_timedwait");
    return Fails(noWaits) ? ENOMEM : system(condition, mutex, time);
}
}

namespace Kyr::Base {
namespace {

using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class ScarcityTest : public testing::Test {
  protected:
    ScarcityTest() { failures = 0; }
    ~ScarcityTest() override {
        noLocks = false;
        noWaits = false;
    }

    CMutex mutex_;
    CCondition condition_;
};

TEST_F(ScarcityTest, SleepWithoutALockLastsAsLong) {
    const auto start = SteadyClock::now();
    noLocks = true;
    SystemClock()->SleepFor(milliseconds(150));
    noLocks = false;
    EXPECT_GE(SteadyClock::now() - start, milliseconds(150));
    EXPECT_GT(failures, 0);
}

TEST_F(ScarcityTest, SleepWithoutALockIsEndedByAnInterruption) {
    bool interrupted = false;
    boost::thread thread([&] {
        noLocks = true;
        try {
            SystemClock()->SleepFor(std::chrono::hours(1));
        } catch (const boost::thread_interrupted&) {
            interrupted = true;
        }
    });
    while (failures == 0) {
        boost::this_thread::yield();
    }
    thread.interrupt();
    thread.join();
    EXPECT_TRUE(interrupted);
}

TEST_F(ScarcityTest, WaitThatTheSystemRefusesWakesWithoutAReason) {
    CLock lock(mutex_);
    noWaits = true;
    EXPECT_NO_THROW(condition_.Wait(lock));
    EXPECT_TRUE(lock.IsHeld());
    EXPECT_EQ(failures, 1);
}

TEST_F(ScarcityTest, TimedWaitThatTheSystemRefusesWakesWithoutAReasonBeforeItsTime) {
    CLock lock(mutex_);
    noWaits = true;
    EXPECT_TRUE(condition_.WaitFor(lock, std::chrono::seconds(5)));
    EXPECT_TRUE(lock.IsHeld());
}

TEST_F(ScarcityTest, TimedWaitThatTheSystemRefusesEndsWithItsTime) {
    CLock lock(mutex_);
    const auto start = SteadyClock::now();
    noWaits = true;
    EXPECT_FALSE(condition_.WaitFor(lock, milliseconds(20)));
    EXPECT_GE(SteadyClock::now() - start, milliseconds(20));
}

TEST_F(ScarcityTest, WaitThatTheSystemRefusesIsEndedByAnInterruption) {
    bool interrupted = false;
    bool held = false;
    boost::thread thread([&] {
        noWaits = true;
        CLock lock(mutex_);
        try {
            for (;;) {
                condition_.Wait(lock);
            }
        } catch (const boost::thread_interrupted&) {
            interrupted = true;
            held = lock.IsHeld();
        }
    });
    while (failures == 0) {
        boost::this_thread::yield();
    }
    thread.interrupt();
    thread.join();
    EXPECT_TRUE(interrupted);
    EXPECT_TRUE(held);
}

}  // namespace
}  // namespace Kyr::Base
