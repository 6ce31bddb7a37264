// Locks, threads, events and waits.
#include <array>
#include <atomic>
#include <functional>
#include <thread>

#include "portlayer/ClassicFunctions.h"
#include "tests/portlayer/PortFixture.h"

namespace Kyr::Test {

namespace {

constexpr std::uint32_t kWaitTimedOut = 0x102;
constexpr std::uint32_t kFailed = 0xFFFFFFFF;
constexpr std::uint32_t kInfinite = 0xFFFFFFFF;

class WaitsTest : public PortFixture {
  protected:
    Handle Event(bool manual, bool signalled) {
        const Handle event = CloseLater(CreateEventW(nullptr, manual, signalled, nullptr));
        EXPECT_NE(event, nullptr);
        return event;
    }
    static void RunOnFourThreads(const std::function<void(int)>& body) {
        std::array<std::thread, 4> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads[static_cast<std::size_t>(thread)] = std::thread(body, thread);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
};

TEST_F(WaitsTest, ManualEventStaysSignalled) {
    const Handle event = Event(true, false);
    EXPECT_EQ(WaitForSingleObject(event, 0), kWaitTimedOut);
    EXPECT_EQ(SetEvent(event), 1);
    EXPECT_EQ(WaitForSingleObject(event, kInfinite), 0u);
    EXPECT_EQ(WaitForSingleObject(event, 0), 0u);
    EXPECT_EQ(ResetEvent(event), 1);
    EXPECT_EQ(WaitForSingleObject(event, 1), kWaitTimedOut);
}

TEST_F(WaitsTest, AutomaticEventLetsOneWaitThrough) {
    const Handle event = Event(false, true);
    EXPECT_EQ(WaitForSingleObject(event, 0), 0u);
    EXPECT_EQ(WaitForSingleObject(event, 0), kWaitTimedOut);
}

TEST_F(WaitsTest, WaitForAnyTellsTheFirstSignalled) {
    const Handle first = Event(true, false);
    const Handle second = Event(true, true);
    const Handle both[] = {first, second};
    EXPECT_EQ(WaitForMultipleObjects(2, both, 0, 0), 1u);
    SetEvent(first);
    EXPECT_EQ(WaitForMultipleObjects(2, both, 0, 0), 0u);
}

TEST_F(WaitsTest, WaitForAllTakesAllOrNone) {
    const Handle first = Event(false, true);
    const Handle second = Event(false, false);
    const Handle both[] = {first, second};
    EXPECT_EQ(WaitForMultipleObjects(2, both, 1, 1), kWaitTimedOut);
    SetEvent(second);
    EXPECT_EQ(WaitForMultipleObjects(2, both, 1, 0), 0u);
    EXPECT_EQ(WaitForSingleObject(first, 0), kWaitTimedOut);
    EXPECT_EQ(WaitForSingleObject(second, 0), kWaitTimedOut);
}

TEST_F(WaitsTest, BadWaitsFail) {
    const Handle event = Event(true, true);
    const Handle handles[65] = {event};
    EXPECT_EQ(WaitForMultipleObjects(0, handles, 0, 0), kFailed);
    EXPECT_EQ(WaitForMultipleObjects(65, handles, 0, 0), kFailed);
    EXPECT_EQ(WaitForMultipleObjects(2, handles, 0, 0), kFailed);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), kFailed);
    EXPECT_EQ(CloseHandle(event), 1);
    EXPECT_EQ(WaitForSingleObject(event, 0), kFailed);
    EXPECT_EQ(SetEvent(event), 0);
    EXPECT_EQ(ResetEvent(event), 0);
}

TEST_F(WaitsTest, SettingAnEventWakesAWaitingThread) {
    const Handle event = Event(true, false);
    std::thread waiting([&] { EXPECT_EQ(WaitForSingleObject(event, kInfinite), 0u); });
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    SetEvent(event);
    waiting.join();
}

TEST_F(WaitsTest, ThreadHandleIsSignalledWhenTheRoutineReturns) {
    struct Work {
        Handle go;
        std::atomic<int> done{0};

        // A lambda would not have the routine's calling convention.
        static std::uint32_t KYR_NTAPI Run(void* parameter) {
            auto& mine = *static_cast<Work*>(parameter);
            WaitForSingleObject(mine.go, kInfinite);
            mine.done = 1;
            return 0;
        }
    } work{Event(true, false)};
    const Handle thread = CreateThread(nullptr, 0, &Work::Run, &work, 0, nullptr);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, 1), kWaitTimedOut);
    EXPECT_EQ(TerminateThread(thread, 0), 0);
    SetEvent(work.go);
    EXPECT_EQ(WaitForSingleObject(thread, kInfinite), 0u);
    EXPECT_EQ(work.done.load(), 1);
    EXPECT_EQ(TerminateThread(thread, 0), 1);
    EXPECT_EQ(CloseHandle(thread), 1);
}

TEST_F(WaitsTest, ExclusiveLockLetsOneThreadIn) {
    void* lock = &lock;
    RtlInitializeSRWLock(&lock);
    EXPECT_EQ(lock, nullptr);
    int counter = 0;
    RunOnFourThreads([&](int) {
        for (int i = 0; i < 2000; ++i) {
            RtlAcquireSRWLockExclusive(&lock);
            ++counter;
            RtlReleaseSRWLockExclusive(&lock);
        }
    });
    EXPECT_EQ(counter, 8000);
    EXPECT_EQ(lock, nullptr);
}

TEST_F(WaitsTest, SharedLocksOverlapAndKeepWritersOut) {
    void* lock = nullptr;
    RtlAcquireSRWLockShared(&lock);
    std::thread([&] {
        RtlAcquireSRWLockShared(&lock);
        RtlReleaseSRWLockShared(&lock);
    }).join();
    std::atomic<bool> entered{false};
    std::thread writer([&] {
        RtlAcquireSRWLockExclusive(&lock);
        entered = true;
        RtlReleaseSRWLockExclusive(&lock);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    EXPECT_FALSE(entered.load());
    RtlReleaseSRWLockShared(&lock);
    writer.join();
    EXPECT_TRUE(entered.load());
    EXPECT_EQ(lock, nullptr);
}

TEST_F(WaitsTest, ReadersAndWritersSeeWholeValues) {
    void* lock = nullptr;
    int first = 0;
    int second = 0;
    RunOnFourThreads([&](int thread) {
        for (int i = 0; i < 1000; ++i) {
            if (thread == 0) {
                RtlAcquireSRWLockExclusive(&lock);
                first = i;
                second = i;
                RtlReleaseSRWLockExclusive(&lock);
            } else {
                RtlAcquireSRWLockShared(&lock);
                ASSERT_EQ(first, second);
                RtlReleaseSRWLockShared(&lock);
            }
        }
    });
}

}  // namespace

}  // namespace Kyr::Test
