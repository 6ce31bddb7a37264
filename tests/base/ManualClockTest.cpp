#include <atomic>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

#include <boost/thread/thread.hpp>

#include "base/Mutex.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AManualClock : public ::testing::Test {
  protected:
    ~AManualClock() override {
        thread_.interrupt();
        thread_.join();
    }

    void OnThread(const std::function<void()>& action) {
        thread_ = boost::thread([this, action] {
            try {
                action();
            } catch (const boost::thread_interrupted&) {
                interrupted_ = true;
            }
            ended_ = true;
        });
    }

    void SleepOnThread(milliseconds duration) {
        OnThread([this, duration] { clock_.SleepFor(duration); });
    }

    void WaitOnThread(milliseconds timeout) {
        OnThread([this, timeout] {
            Base::CLock lock(mutex_);
            inTime_ = clock_.WaitFor(condition_, lock, timeout);
            lockHeld_ = lock.IsHeld();
        });
    }

    void Signal() {
        const Base::CLock lock(mutex_);
        condition_.NotifyAll();
    }

    CManualClock clock_;
    Base::CMutex mutex_;
    Base::CCondition condition_;
    std::atomic<bool> ended_{false};
    std::atomic<bool> interrupted_{false};
    std::atomic<bool> inTime_{false};
    std::atomic<bool> lockHeld_{false};
    boost::thread thread_;
};

TEST_F(AManualClock, StandsStillAtItsStartTime) {
    EXPECT_EQ(1700000000, clock_.CalendarTime());
    EXPECT_EQ(milliseconds(0), clock_.Elapsed());
}

TEST_F(AManualClock, CalendarTimeCountsWholeSecondsOfWhatPassed) {
    clock_.Advance(milliseconds(1999));
    EXPECT_EQ(1700000001, clock_.CalendarTime());
    EXPECT_EQ(milliseconds(1999), clock_.Elapsed());
}

TEST_F(AManualClock, StartTimeCanBeChosen) {
    clock_.SetStartTime(100);
    clock_.Advance(seconds(5));
    EXPECT_EQ(105, clock_.CalendarTime());
}

TEST_F(AManualClock, SleeperSleepsUntilItsTimeHasCome) {
    SleepOnThread(seconds(10));
    ASSERT_TRUE(clock_.AwaitSleepers(1));
    clock_.Advance(milliseconds(9999));
    EXPECT_FALSE(ended_);
    clock_.Advance(milliseconds(1));
    thread_.join();
    EXPECT_FALSE(interrupted_);
}

TEST_F(AManualClock, SleeperWhoseTimeHasComeIsAwakeWhenAdvanceReturns) {
    for (int round = 0; round < 200; ++round) {
        SleepOnThread(seconds(10));
        ASSERT_TRUE(clock_.AwaitSleepers(1));
        clock_.Advance(seconds(10));
        thread_.interrupt();  // meets no interruption point any more
        thread_.join();
        ASSERT_FALSE(interrupted_) << round;
    }
}

TEST_F(AManualClock, AdvanceToNextSleepReturnsWhenTheWorkBetweenTwoSleepsIsDone) {
    std::atomic<int> rounds{0};
    OnThread([&] {
        while (true) {
            clock_.SleepFor(seconds(1));
            boost::this_thread::yield();
            ++rounds;
        }
    });
    ASSERT_TRUE(clock_.AwaitSleepers(1));
    for (int round = 1; round <= 200; ++round) {
        ASSERT_TRUE(clock_.AdvanceToNextSleep(seconds(1)));
        ASSERT_EQ(rounds, round);
    }
    thread_.interrupt();
    thread_.join();
}

TEST_F(AManualClock, SleeperCanBeInterrupted) {
    SleepOnThread(seconds(10));
    ASSERT_TRUE(clock_.AwaitSleepers(1));
    thread_.interrupt();
    thread_.join();
    EXPECT_TRUE(interrupted_);
    EXPECT_TRUE(clock_.AwaitSleepers(0));
}

TEST_F(AManualClock, SleepOfNothingIsAnInterruptionPoint) {
    OnThread([this] {
        while (true) {
            clock_.SleepFor(milliseconds(0));
        }
    });
    thread_.interrupt();
    thread_.join();
    EXPECT_TRUE(interrupted_);
}

TEST_F(AManualClock, AutomaticSleepMovesTheTime) {
    clock_.SetAutomaticSleep(true);
    clock_.SleepFor(seconds(10));
    clock_.SleepFor(seconds(1));
    EXPECT_EQ(milliseconds(11000), clock_.Elapsed());
}

TEST_F(AManualClock, HookBeforeASleepFindsTheTimeUnmovedAndMayMoveTheCalendar) {
    std::vector<std::pair<milliseconds, milliseconds>> seen;
    clock_.SetAutomaticSleep(true);
    clock_.BeforeSleep([&](milliseconds duration) {
        seen.emplace_back(clock_.Elapsed(), duration);
        clock_.SetStartTime(100);
    });
    clock_.SleepFor(seconds(10));
    clock_.SleepFor(seconds(1));
    EXPECT_THAT(seen, ElementsAre(std::pair(milliseconds(0), milliseconds(10000)),
                                  std::pair(milliseconds(10000), milliseconds(1000))));
    EXPECT_EQ(111, clock_.CalendarTime());
}

TEST_F(AManualClock, SleepThatTheHookEndsMovesNoTimeAndIsRemembered) {
    clock_.SetAutomaticSleep(true);
    clock_.BeforeSleep([](milliseconds) { throw boost::thread_interrupted(); });
    EXPECT_THROW(clock_.SleepFor(seconds(10)), boost::thread_interrupted);
    EXPECT_EQ(milliseconds(0), clock_.Elapsed());
    EXPECT_THAT(clock_.Sleeps(), ElementsAre(milliseconds(10000)));
}

TEST_F(AManualClock, RemembersEverySleepAndTimedWait) {
    clock_.SetAutomaticSleep(true);
    clock_.SleepFor(seconds(10));
    clock_.SleepFor(seconds(0));
    EXPECT_THAT(clock_.Sleeps(), ElementsAre(milliseconds(10000), milliseconds(0)));
    EXPECT_THAT(clock_.TimedWaits(), IsEmpty());
    WaitOnThread(seconds(5));
    ASSERT_TRUE(clock_.AwaitWaiters(1));
    EXPECT_THAT(clock_.TimedWaits(), ElementsAre(milliseconds(5000)));
}

TEST_F(AManualClock, TimedWaitIsFalseWhenItsTimeHasCome) {
    inTime_ = true;
    WaitOnThread(seconds(5));
    ASSERT_TRUE(clock_.AwaitWaiters(1));
    clock_.Advance(seconds(5));
    thread_.join();
    EXPECT_FALSE(inTime_);
    EXPECT_TRUE(lockHeld_);
}

TEST_F(AManualClock, TimedWaitIsTrueWhenSignalledBefore) {
    WaitOnThread(seconds(5));
    ASSERT_TRUE(clock_.AwaitWaiters(1));
    clock_.Advance(milliseconds(4999));
    Signal();
    thread_.join();
    EXPECT_TRUE(inTime_);
}

TEST_F(AManualClock, TimedWaitCanBeInterrupted) {
    WaitOnThread(seconds(5));
    ASSERT_TRUE(clock_.AwaitWaiters(1));
    thread_.interrupt();
    thread_.join();
    EXPECT_TRUE(interrupted_);
    EXPECT_TRUE(clock_.AwaitWaiters(0));
}

TEST_F(AManualClock, AutomaticSleepOfOneThreadWakesTheTimedWaitOfAnother) {
    clock_.SetAutomaticSleep(true);
    WaitOnThread(seconds(5));
    ASSERT_TRUE(clock_.AwaitWaiters(1));
    clock_.SleepFor(seconds(5));
    thread_.join();
    EXPECT_FALSE(inTime_);
}

TEST_F(AManualClock, UntimedWaitEndsBySignalOnly) {
    OnThread([this] {
        Base::CLock lock(mutex_);
        clock_.Wait(condition_, lock);
    });
    ASSERT_TRUE(clock_.AwaitWaiters(1));
    clock_.Advance(seconds(3600));
    EXPECT_TRUE(clock_.AwaitWaiters(1));
    Signal();
    thread_.join();
    EXPECT_FALSE(interrupted_);
}

TEST_F(AManualClock, UntimedWaitCanBeInterrupted) {
    OnThread([this] {
        Base::CLock lock(mutex_);
        clock_.Wait(condition_, lock);
    });
    ASSERT_TRUE(clock_.AwaitWaiters(1));
    thread_.interrupt();
    thread_.join();
    EXPECT_TRUE(interrupted_);
}

}  // namespace
}  // namespace Kyr::Test
