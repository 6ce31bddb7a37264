#include <atomic>
#include <gtest/gtest.h>

#include <boost/thread/locks.hpp>

#include "connector/RecursiveLock.h"
#include "tests/support/time/Await.h"

namespace Kyr::Connectors::Common {
namespace {

/// Taken a second time: the analysis knows no lock that its owner may take again, and does not look
/// into this guard, which can also be released early.
using Guard = boost::unique_lock<CRecursiveLock>;

TEST(RecursiveLockTest, OwnerMayTakeItAgain) {
    CRecursiveLock lock;
    const CRecursiveGuard outer(lock);
    const Guard inner(lock);
    SUCCEED();
}

TEST(RecursiveLockTest, OthersWaitForTheOutermostRelease) {
    CRecursiveLock lock;
    std::atomic<bool> entered{false};
    Guard outer(lock);
    Guard inner(lock);
    boost::thread other([&] {
        const CRecursiveGuard guard(lock);
        entered = true;
    });
    inner.unlock();
    boost::this_thread::sleep_for(boost::chrono::milliseconds(20));
    EXPECT_FALSE(entered);
    outer.unlock();
    other.join();
    EXPECT_TRUE(entered);
}

TEST(RecursiveLockTest, OthersWaitForTheEndOfAGuard) {
    CRecursiveLock lock;
    std::atomic<bool> trying{false};
    std::atomic<bool> entered{false};
    boost::thread other;
    {
        const CRecursiveGuard outer(lock);
        const Guard inner(lock);
        other = boost::thread([&] {
            trying = true;
            const CRecursiveGuard guard(lock);
            entered = true;
        });
        EXPECT_TRUE(Kyr::Test::Await([&] { return trying.load(); }));
        for (int turn = 0; turn < 1000; ++turn) {
            boost::this_thread::yield();
            EXPECT_FALSE(entered);
        }
    }
    other.join();
    EXPECT_TRUE(entered);
}

TEST(RecursiveLockTest, ExcludesAcrossManyThreads) {
    CRecursiveLock lock;
    int counter = 0;
    boost::thread_group threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.create_thread([&] {
            for (int round = 0; round < 500; ++round) {
                const CRecursiveGuard outer(lock);
                const Guard inner(lock);
                ++counter;
            }
        });
    }
    threads.join_all();
    EXPECT_EQ(counter, 2000);
}

TEST(RecursiveLockTest, GuardWithoutALockIsALockError) {
    Guard nothing;
    EXPECT_THROW(nothing.lock(), boost::lock_error);
}

}  // namespace
}  // namespace Kyr::Connectors::Common
