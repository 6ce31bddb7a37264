#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <optional>
#include <thread>

#include "kelcomm/ports/KelcommClientNt.h"
#include "kelcomm/ports/KelcommWaitPool.h"
#include "tests/kelcomm/ports/LpcWidths.h"
#include "tests/support/AllocationWatch.h"

namespace Kyr::Test {

namespace {

using Kelcomm::CKelcommWaitPool;

constexpr auto kUnsuccessful = static_cast<NtApi::NtStatus>(0xC0000001);

/// A door that exchanges wait at until the test opens it.
class CDoor {
  public:
    void Wait() {
        std::unique_lock<std::mutex> lock(mutex_);
        ++waiting_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return open_; });
    }
    void Open() {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }
    void AwaitWaiting(int count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return waiting_ >= count; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int waiting_ = 0;
    bool open_ = false;
};

/// An allocation that fails in an exchange, behind the making of the caller's event.
struct Shortage {
    static NtApi::Handle KYR_NTAPI CreateEventW(void* security, NtApi::Bool manualReset,
                                                NtApi::Bool set, const char16_t* name) {
        const NtApi::Handle event = createEvent(security, manualReset, set, name);
        failure.emplace(after);
        return event;
    }

    static inline NtApi::CreateEventWFn createEvent = nullptr;
    static inline unsigned after = 0;
    static inline std::optional<CAllocationFailure> failure;
};

class KelcommWaitPoolTest : public testing::Test {
  protected:
    KelcommWaitPoolTest() {
        native_.ports.defaultAnswer.status = 0;
        native_.ports.defaultAnswer.action = [this](const CScriptedPorts::Sent& sent) {
            if (!sent.message.empty() && sent.message.back() == 'w') {
                door_.Wait();
            }
        };
        pool_ = CKelcommWaitPool::Create(native_.GetFunctions());
    }
    void TearDown() override {
        door_.Open();
        pool_.reset();
        native_.threads.Join();  // those that were given up go on until here
        EXPECT_EQ(0U, native_.CountLive());
        EXPECT_THAT(native_.Misuses(), testing::IsEmpty());
    }

    /// Exchanges a 25-byte message that ends with `mark`; 'w' waits at the door.
    NtApi::NtStatus Exchange(char mark = '-') {
        Kelcomm::Structs32::Message request{};
        Kelcomm::Structs32::Message reply{};
        request.bytes[2] = 25;
        request.bytes[24] = static_cast<std::uint8_t>(mark);
        return pool_->Exchange(reinterpret_cast<NtApi::Handle>(8), request.bytes, reply.bytes);
    }

    /// Posts window messages to the caller; the last to be dispatched opens the door.
    void PostMessages(int count) {
        native_.waits.onDispatch = [this, count] {
            if (native_.waits.dispatched == count) {
                door_.Open();
            }
        };
        native_.threads.PostMessages(count);
    }

    /// The time passes once closing waits for the threads.
    void CloseWhileASecondPasses() { CloseWhilePassing(1000); }
    void CloseWhilePassing(std::uint32_t milliseconds) {
        std::thread clock([this, milliseconds] {
            native_.threads.AwaitWaiter(1000);
            native_.threads.Advance(milliseconds);
        });
        pool_->Close();
        clock.join();
    }

    CDoor door_;
    CScriptedNative native_;
    std::unique_ptr<CKelcommWaitPool> pool_;
};

TEST_F(KelcommWaitPoolTest, ExchangeRunsOnAThreadOfThePool) {
    std::thread::id exchanger;
    native_.ports.defaultAnswer.action = [&](const CScriptedPorts::Sent&) {
        exchanger = std::this_thread::get_id();
    };
    EXPECT_EQ(0, Exchange());
    EXPECT_NE(std::this_thread::get_id(), exchanger);
    EXPECT_EQ(1, native_.threads.StartedThreads());
}

TEST_F(KelcommWaitPoolTest, StatusOfTheExchangeIsReturned) {
    native_.ports.defaultAnswer.status = kPortDisconnected;
    EXPECT_EQ(kPortDisconnected, Exchange());
}

TEST_F(KelcommWaitPoolTest, IdleThreadIsUsedAgain) {
    Exchange();
    native_.threads.AwaitWaiter(60000);
    Exchange();
    EXPECT_EQ(1, native_.threads.StartedThreads());
}

TEST_F(KelcommWaitPoolTest, BusyThreadsGetCompanyWithoutLimit) {
    std::vector<std::thread> callers;
    for (int i = 0; i < 5; ++i) {
        callers.emplace_back([this] { EXPECT_EQ(0, Exchange('w')); });
    }
    door_.AwaitWaiting(5);
    EXPECT_EQ(5, native_.threads.StartedThreads());
    door_.Open();
    for (std::thread& caller : callers) {
        caller.join();
    }
}

TEST_F(KelcommWaitPoolTest, SecondIdleThreadIsWokenAfterTheFirstHasTakenItsExchange) {
    // Two threads, each held back where it would begin to wait for work.
    CDoor idle[2];
    std::atomic<std::size_t> waits{0};
    native_.OnCall([&](const std::string& function) {
        if (function == "WaitForSingleObject") {
            if (const std::size_t wait = waits++; wait < 2) {
                idle[wait].Wait();
            }
        }
    });
    std::vector<std::thread> callers;
    callers.emplace_back([this] { EXPECT_EQ(0, Exchange('w')); });
    callers.emplace_back([this] { EXPECT_EQ(0, Exchange('w')); });
    door_.AwaitWaiting(2);
    door_.Open();
    idle[0].AwaitWaiting(1);
    idle[1].AwaitWaiting(1);

    // Two exchanges, which do not end before both have begun.
    CDoor busy;
    native_.ports.defaultAnswer.action = [&](const CScriptedPorts::Sent&) { busy.Wait(); };
    const unsigned resets = native_.CountCalls("ResetEvent");
    for (const unsigned exchange : {3U, 4U}) {
        callers.emplace_back(
            [this, exchange] { EXPECT_EQ(0, Exchange(exchange == 3 ? '3' : '4')); });
        while (native_.CountCalls("MsgWaitForMultipleObjects") != exchange) {
            std::this_thread::yield();
        }
    }
    idle[0].Open();
    busy.AwaitWaiting(1);
    EXPECT_EQ(HexBytes("33"), BytesAt(native_.ports.requests.at(2).message, 24, 1));  // in order
    EXPECT_EQ(resets, native_.CountCalls("ResetEvent"));  // the other exchange still waits
    idle[1].Open();
    if (HasFailure()) {  // else the test would never end
        native_.threads.AwaitWaiter(60000);
        native_.threads.Advance(60000);
    }
    busy.AwaitWaiting(2);
    busy.Open();
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(2, native_.threads.StartedThreads());
    pool_->Close();
    native_.OnCall({});
}

TEST_F(KelcommWaitPoolTest, IdleThreadEndsAfterAMinute) {
    Exchange();
    native_.threads.AwaitWaiter(60000);
    native_.threads.Advance(60000);
    while (native_.threads.OpenHandles() != 1) {  // the pool's own event
        std::this_thread::yield();
    }
    EXPECT_EQ(0, Exchange());
    EXPECT_EQ(2, native_.threads.StartedThreads());
}

TEST_F(KelcommWaitPoolTest, IdleThreadThatIsWokenForNothingWaitsOn) {
    Exchange();
    native_.threads.AwaitWaiter(60000);
    const auto event = reinterpret_cast<NtApi::Handle>(std::uintptr_t{0x100000});  // the first one
    const unsigned waits = native_.CountCalls("WaitForSingleObject");
    native_.threads.Set(event, true);
    while (native_.CountCalls("WaitForSingleObject") < waits + 2) {
        std::this_thread::yield();
    }
    native_.threads.Set(event, false);
    EXPECT_EQ(0, Exchange());
    EXPECT_EQ(1, native_.threads.StartedThreads());
}

TEST_F(KelcommWaitPoolTest, MessagesAreDispatchedWhileTheCallerWaits) {
    PostMessages(3);
    EXPECT_EQ(0, Exchange('w'));
    EXPECT_EQ(3, native_.waits.translated);
    EXPECT_EQ(3, native_.waits.dispatched);
    // one event, not all of several, no time limit, every kind of input
    EXPECT_EQ(std::vector<std::uint32_t>({1, 0, 0xFFFFFFFF, 0x1CFF}), native_.waits.messageWait);
}

TEST_F(KelcommWaitPoolTest, MessageIsTranslatedBeforeItIsDispatched) {
    PostMessages(2);
    EXPECT_EQ(0, Exchange('w'));
    EXPECT_EQ(
        std::vector<std::string>({"translated 1", "dispatched 1", "translated 2", "dispatched 2"}),
        native_.waits.handled);
}

TEST_F(KelcommWaitPoolTest, AtMostAHundredMessagesAreDispatchedBeforeWaitingAgain) {
    unsigned waitsAtHundred = 0;
    unsigned waitsAtNext = 0;
    native_.waits.onDispatch = [&] {
        if (native_.waits.dispatched == 100) {
            waitsAtHundred = native_.CountCalls("MsgWaitForMultipleObjects");
        } else if (native_.waits.dispatched == 101) {
            waitsAtNext = native_.CountCalls("MsgWaitForMultipleObjects");
            door_.Open();
        }
    };
    native_.threads.PostMessages(101);
    EXPECT_EQ(0, Exchange('w'));
    EXPECT_EQ(1U, waitsAtHundred);
    EXPECT_EQ(2U, waitsAtNext);
}

TEST_F(KelcommWaitPoolTest, SystemWithoutWindowMessagesWaitsPlainly) {
    native_.Fail("MsgWaitForMultipleObjects");
    std::thread opener([this] {
        door_.AwaitWaiting(1);
        door_.Open();
    });
    EXPECT_EQ(0, Exchange('w'));
    opener.join();
}

TEST_F(KelcommWaitPoolTest, IdleEventStaysSetUntilItIsCleared) {
    EXPECT_EQ(std::vector<bool>({true}), native_.waits.manualResets);
}

TEST_F(KelcommWaitPoolTest, PoolWithoutItsEventIsNotMade) {
    native_.Fail("CreateEventW", 1);
    EXPECT_EQ(nullptr, CKelcommWaitPool::Create(native_.GetFunctions()));
}

TEST_F(KelcommWaitPoolTest, PoolWithoutMemoryIsNotMade) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    std::unique_ptr<CKelcommWaitPool> pool;
    {
        const CAllocationFailure failure;
        pool = CKelcommWaitPool::Create(native_.GetFunctions());
    }
    EXPECT_EQ(nullptr, pool);
}

TEST_F(KelcommWaitPoolTest, ExchangeWithoutMemoryIsAFailureAndTheNextOneWorks) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    NativeFunctions functions = native_.GetFunctions();
    pool_ = CKelcommWaitPool::Create(functions);
    Shortage::createEvent = functions.CreateEventW;
    functions.CreateEventW = &Shortage::CreateEventW;
    // The exchange, its thread, what the thread is given, and its place among the threads.
    for (Shortage::after = 0; Shortage::after < 4; ++Shortage::after) {
        EXPECT_EQ(kUnsuccessful, Exchange()) << Shortage::after;
        EXPECT_TRUE(Shortage::failure->HasHappened()) << Shortage::after;
        Shortage::failure.reset();
    }
    EXPECT_EQ(0U, native_.CountCalls("CreateThread"));
    EXPECT_EQ(1U, native_.threads.OpenHandles());  // the pool's own event
    functions.CreateEventW = Shortage::createEvent;
    EXPECT_EQ(0, Exchange());
    EXPECT_EQ(1, native_.threads.StartedThreads());
    pool_.reset();
}

TEST_F(KelcommWaitPoolTest, ThreadThatEndsByItselfTellsOfNoFailure) {
    Exchange();
    pool_->Close();
    native_.threads.Join();
    EXPECT_EQ(std::vector<std::uint32_t>({0}), native_.threads.ExitCodes());
}

TEST_F(KelcommWaitPoolTest, CallWithoutItsEventIsAFailure) {
    native_.Fail("CreateEventW", 1);
    EXPECT_EQ(kUnsuccessful, Exchange());
    EXPECT_TRUE(native_.ports.requests.empty());
}

TEST_F(KelcommWaitPoolTest, ThreadThatCannotBeStartedIsAFailure) {
    native_.Fail("CreateThread", 1);
    EXPECT_EQ(kUnsuccessful, Exchange());
    EXPECT_TRUE(native_.ports.requests.empty());
    EXPECT_EQ(0, Exchange());
    EXPECT_EQ(1U, native_.ports.requests.size());  // the failed one was not left for later
}

// ---- closing ----

TEST_F(KelcommWaitPoolTest, CloseWakesIdleThreadsAndWaitsForThem) {
    Exchange();
    native_.threads.AwaitWaiter(60000);
    pool_->Close();
    EXPECT_EQ(0U, native_.threads.OpenHandles());
    EXPECT_EQ(0, native_.threads.TerminatedThreads());
    const std::vector<std::uint32_t> timeouts = native_.threads.WaitTimeouts();
    EXPECT_EQ(1000U, timeouts.at(timeouts.size() - 1));
}

TEST_F(KelcommWaitPoolTest, PoolWithoutThreadsIsClosedWithoutAWait) {
    pool_->Close();
    EXPECT_EQ(std::vector<std::size_t>(), native_.threads.WaitSizes());
}

TEST_F(KelcommWaitPoolTest, ClosedPoolRefusesExchanges) {
    pool_->Close();
    EXPECT_EQ(kUnsuccessful, Exchange());
    pool_->Close();
}

TEST_F(KelcommWaitPoolTest, ExchangeThatNoThreadHasTakenIsGivenUpByClose) {
    std::atomic<int> waits{0};
    native_.OnCall([&](const std::string& function) {
        if (function == "WaitForSingleObject" && ++waits == 1) {
            door_.Wait();  // the thread counts as idle, but does not come for the next exchange
        }
    });
    EXPECT_EQ(0, Exchange());
    door_.AwaitWaiting(1);
    std::thread caller([this] {
        EXPECT_EQ(kUnsuccessful, Exchange());
        door_.Open();
    });
    while (native_.CountCalls("MsgWaitForMultipleObjects") != 2) {
        std::this_thread::yield();
    }
    pool_->Close();
    caller.join();
    native_.OnCall({});
    EXPECT_EQ(1, native_.threads.StartedThreads());
    EXPECT_EQ(0, native_.threads.TerminatedThreads());
    EXPECT_EQ(1U, native_.ports.requests.size());
}

TEST_F(KelcommWaitPoolTest, ThreadsAreWaitedForInGroupsOfSixtyFour) {
    std::vector<std::thread> callers;
    for (int i = 0; i < 65; ++i) {
        callers.emplace_back([this] { Exchange('w'); });
    }
    door_.AwaitWaiting(65);
    door_.Open();
    for (std::thread& caller : callers) {
        caller.join();
    }
    pool_->Close();
    // Idle threads wait for a minute, closing for a second.
    const std::vector<std::size_t> sizes = native_.threads.WaitSizes();
    const std::vector<std::uint32_t> timeouts = native_.threads.WaitTimeouts();
    std::vector<std::size_t> groups;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        if (timeouts[i] == 1000) {
            groups.push_back(sizes[i]);
        }
    }
    EXPECT_EQ(std::vector<std::size_t>({64, 1}), groups);
    EXPECT_EQ(0, native_.threads.TerminatedThreads());
}

TEST_F(KelcommWaitPoolTest, ThreadThatDoesNotFinishInASecondIsTerminated) {
    std::thread caller([this] { EXPECT_EQ(kUnsuccessful, Exchange('w')); });
    door_.AwaitWaiting(1);
    CloseWhileASecondPasses();
    caller.join();  // its exchange is given up with the thread
    EXPECT_EQ(1, native_.threads.TerminatedThreads());
    EXPECT_EQ(0U, native_.threads.OpenHandles());
    door_.Open();
}

TEST_F(KelcommWaitPoolTest, OneSecondIsAllThatTheGroupsGetTogether) {
    std::vector<std::thread> callers;
    for (int i = 0; i < 65; ++i) {
        callers.emplace_back([this] { EXPECT_EQ(kUnsuccessful, Exchange('w')); });
    }
    door_.AwaitWaiting(65);
    native_.threads.Advance(5000);  // a system has been up for some time
    CloseWhilePassing(1500);        // woken late
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(65, native_.threads.TerminatedThreads());
    const std::vector<std::uint32_t> timeouts = native_.threads.WaitTimeouts();
    EXPECT_EQ(1, std::count(timeouts.begin(), timeouts.end(), 1000U));
    door_.Open();
}

TEST_F(KelcommWaitPoolTest, ThreadThatCannotBeTerminatedKeepsItsCaller) {
    native_.Fail("TerminateThread");
    std::atomic<bool> returned{false};
    std::thread caller([&] {
        EXPECT_EQ(0, Exchange('w'));
        returned = true;
    });
    door_.AwaitWaiting(1);
    CloseWhileASecondPasses();
    EXPECT_FALSE(returned);  // the thread still writes to the caller's messages
    door_.Open();
    caller.join();
}

// ---- the client's option ----

template <typename Width>
class PumpingClientTest : public LpcClientFixture<Width> {
  protected:
    void SetUp() override { this->InitializeClient(2); }
};

TYPED_TEST_SUITE(PumpingClientTest, LpcWidths, LpcWidthNames);

TYPED_TEST(PumpingClientTest, ExchangesGoThroughThePool) {
    std::thread::id exchanger;
    CScriptedPorts::Answer answer;
    answer.reply = this->Reply(5, 3, TextBytes("xyz"));
    answer.action = [&](const CScriptedPorts::Sent&) { exchanger = std::this_thread::get_id(); };
    this->native_.ports.Queue(answer);
    EXPECT_EQ(5U, this->Request(TextBytes("abc"), 16));
    EXPECT_EQ(TextBytes("xyz"), this->reply_);
    EXPECT_NE(std::this_thread::get_id(), exchanger);
}

TYPED_TEST(PumpingClientTest, OneWayRequestsNeedNoThread) {
    EXPECT_EQ(0U, this->Request({}, 0, 1));
    EXPECT_EQ(0, this->native_.threads.StartedThreads());
}

TYPED_TEST(PumpingClientTest, PoolIsMadeOnceAndOutlivesAReconnection) {
    this->QueueStatus(kPortDisconnected);
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(2U, this->native_.ports.connections.size());
    EXPECT_EQ(3U, this->native_.CountCalls("CreateEventW"));  // the pool's and one a call
}

TYPED_TEST(PumpingClientTest, PoolThatCannotBeMadeFailsTheConnection) {
    this->native_.Fail("CreateEventW");
    EXPECT_EQ(1U, this->Ping());
    EXPECT_TRUE(this->native_.ports.requests.empty());
    EXPECT_EQ(0U, this->native_.CountLive());
}

TYPED_TEST(PumpingClientTest, CloseClosesThePortThenThePoolThenTheArea) {
    this->ProvideEmptyArea();
    this->QueueReply(this->Reply(0, 0, {}));
    EXPECT_EQ(0U, this->Ping());
    EXPECT_EQ(0U, this->client_->ReadBroadcast(0, nullptr, 0));
    EXPECT_EQ(
        std::vector<std::string>({"port", "thread", "event", "mapped area", "mapping", "mutex"}),
        this->GivenBackBy([this] { this->client_->Close(); }));
}

TYPED_TEST(PumpingClientTest, InitializeDestroysThePool) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Ping();
    this->InitializeClient(0);
    EXPECT_EQ(0U, this->native_.CountLive());
}

TYPED_TEST(PumpingClientTest, CloseDestroysThePool) {
    this->QueueReply(this->Reply(0, 0, {}));
    this->Ping();
    EXPECT_EQ(0U, this->client_->Close());
    EXPECT_EQ(0U, this->native_.CountLive());
}

}  // namespace

}  // namespace Kyr::Test
