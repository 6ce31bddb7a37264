// Locks, threads, events and waits.
#include <atomic>
#include <thread>

#include "tests/portlayer/PortFixture.h"

namespace Kyr::Test {

namespace {

constexpr std::uint32_t kWaitTimedOut = 0x102;
constexpr std::uint32_t kFailed = 0xFFFFFFFF;
constexpr std::uint32_t kInfinite = 0xFFFFFFFF;

class WaitsTest : public PortFixture {
  protected:
    Handle Event(bool manual, bool signalled) {
        const Handle event = Ports().CreateEventW(nullptr, manual, signalled, nullptr);
        EXPECT_NE(event, nullptr);
        return event;
    }
    void Close(std::initializer_list<Handle> handles) {
        for (const Handle handle : handles) {
            EXPECT_EQ(Ports().CloseHandle(handle), 1);
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Backends, WaitsTest, Backends(), BackendName);

TEST_P(WaitsTest, ManualEventStaysSignalled) {
    const Handle event = Event(true, false);
    EXPECT_EQ(Ports().WaitForSingleObject(event, 0), kWaitTimedOut);
    EXPECT_EQ(Ports().SetEvent(event), 1);
    EXPECT_EQ(Ports().WaitForSingleObject(event, kInfinite), 0u);
    EXPECT_EQ(Ports().WaitForSingleObject(event, 0), 0u);
    EXPECT_EQ(Ports().ResetEvent(event), 1);
    EXPECT_EQ(Ports().WaitForSingleObject(event, 1), kWaitTimedOut);
    Close({event});
}

TEST_P(WaitsTest, AutomaticEventLetsOneWaitThrough) {
    const Handle event = Event(false, true);
    EXPECT_EQ(Ports().WaitForSingleObject(event, 0), 0u);
    EXPECT_EQ(Ports().WaitForSingleObject(event, 0), kWaitTimedOut);
    Close({event});
}

TEST_P(WaitsTest, WaitForAnyTellsTheFirstSignalled) {
    const Handle first = Event(true, false);
    const Handle second = Event(true, true);
    const Handle both[] = {first, second};
    EXPECT_EQ(Ports().WaitForMultipleObjects(2, both, 0, 0), 1u);
    Ports().SetEvent(first);
    EXPECT_EQ(Ports().WaitForMultipleObjects(2, both, 0, 0), 0u);
    Close({first, second});
}

TEST_P(WaitsTest, WaitForAllTakesAllOrNone) {
    const Handle first = Event(false, true);
    const Handle second = Event(false, false);
    const Handle both[] = {first, second};
    EXPECT_EQ(Ports().WaitForMultipleObjects(2, both, 1, 1), kWaitTimedOut);
    Ports().SetEvent(second);
    EXPECT_EQ(Ports().WaitForMultipleObjects(2, both, 1, 0), 0u);
    EXPECT_EQ(Ports().WaitForSingleObject(first, 0), kWaitTimedOut);
    EXPECT_EQ(Ports().WaitForSingleObject(second, 0), kWaitTimedOut);
    Close({first, second});
}

TEST_P(WaitsTest, BadWaitsFail) {
    const Handle event = Event(true, true);
    const Handle handles[65] = {event};
    EXPECT_EQ(Ports().WaitForMultipleObjects(0, handles, 0, 0), kFailed);
    EXPECT_EQ(Ports().WaitForMultipleObjects(65, handles, 0, 0), kFailed);
    EXPECT_EQ(Ports().WaitForMultipleObjects(2, handles, 0, 0), kFailed);
    EXPECT_EQ(Ports().WaitForSingleObject(nullptr, 0), kFailed);
    Close({event});
    EXPECT_EQ(Ports().WaitForSingleObject(event, 0), kFailed);
    EXPECT_EQ(Ports().SetEvent(event), 0);
    EXPECT_EQ(Ports().ResetEvent(event), 0);
}

TEST_P(WaitsTest, SettingAnEventWakesAWaitingThread) {
    const Handle event = Event(true, false);
    std::thread waiting([&] { EXPECT_EQ(Ports().WaitForSingleObject(event, kInfinite), 0u); });
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    Ports().SetEvent(event);
    waiting.join();
    Close({event});
}

TEST_P(WaitsTest, ThreadHandleIsSignalledWhenTheRoutineReturns) {
    struct Work {
        const PortBackend* ports;
        Handle go;
        std::atomic<int> done{0};

        // A lambda would not have the routine's calling convention.
        static std::uint32_t KYR_NTAPI Run(void* parameter) {
            auto& mine = *static_cast<Work*>(parameter);
            mine.ports->WaitForSingleObject(mine.go, kInfinite);
            mine.done = 1;
            return 0;
        }
    } work{GetParam(), Event(true, false)};
    std::uint32_t threadId = 0;
    const Handle thread = Ports().CreateThread(nullptr, 0, &Work::Run, &work, 0, &threadId);
    ASSERT_NE(thread, nullptr);
    EXPECT_NE(threadId, 0u);
    EXPECT_EQ(Ports().WaitForSingleObject(thread, 1), kWaitTimedOut);
    EXPECT_EQ(Ports().TerminateThread(thread, 0), 0);
    Ports().SetEvent(work.go);
    EXPECT_EQ(Ports().WaitForSingleObject(thread, kInfinite), 0u);
    EXPECT_EQ(work.done.load(), 1);
    EXPECT_EQ(Ports().TerminateThread(thread, 0), 1);
    Close({thread, work.go});
}

TEST_P(WaitsTest, ExclusiveLockLetsOneThreadIn) {
    void* lock = &lock;
    Ports().RtlInitializeSRWLock(&lock);
    EXPECT_EQ(lock, nullptr);
    int counter = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                Ports().RtlAcquireSRWLockExclusive(&lock);
                ++counter;
                Ports().RtlReleaseSRWLockExclusive(&lock);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 8000);
    EXPECT_EQ(lock, nullptr);
}

TEST_P(WaitsTest, SharedLocksOverlapAndKeepWritersOut) {
    void* lock = nullptr;
    Ports().RtlAcquireSRWLockShared(&lock);
    std::thread([&] {
        Ports().RtlAcquireSRWLockShared(&lock);
        Ports().RtlReleaseSRWLockShared(&lock);
    }).join();
    std::atomic<bool> entered{false};
    std::thread writer([&] {
        Ports().RtlAcquireSRWLockExclusive(&lock);
        entered = true;
        Ports().RtlReleaseSRWLockExclusive(&lock);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    EXPECT_FALSE(entered.load());
    Ports().RtlReleaseSRWLockShared(&lock);
    writer.join();
    EXPECT_TRUE(entered.load());
    EXPECT_EQ(lock, nullptr);
}

TEST_P(WaitsTest, ReadersAndWritersSeeWholeValues) {
    void* lock = nullptr;
    int first = 0;
    int second = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 1000; ++i) {
                if (thread == 0) {
                    Ports().RtlAcquireSRWLockExclusive(&lock);
                    first = i;
                    second = i;
                    Ports().RtlReleaseSRWLockExclusive(&lock);
                } else {
                    Ports().RtlAcquireSRWLockShared(&lock);
                    ASSERT_EQ(first, second);
                    Ports().RtlReleaseSRWLockShared(&lock);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace

}  // namespace Kyr::Test
