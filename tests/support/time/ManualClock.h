// A clock whose time stands still until the test moves it.
//
// Threads: every operation may be called from any thread. Threads under test block in SleepFor,
// Wait and WaitFor; the test synchronises with them through the Await operations and moves time
// with Advance. Blocked threads can be interrupted as with the system clock. The Await operations
// give up after ten real seconds and return false.
#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <utility>
#include <vector>

#include "base/Clock.h"
#include "base/Mutex.h"

namespace Kyr::Test {

class CManualClock final : public Base::IClock {
  public:
    using Milliseconds = std::chrono::milliseconds;

    /// 1700000000 is 2023-11-14T22:13:20 UTC.
    static constexpr std::int64_t kStartTime = 1700000000;

    CManualClock() = default;
    ~CManualClock() override;

    std::int64_t CalendarTime() const override;
    void SleepFor(Milliseconds duration) override;
    void Wait(Base::CCondition& condition, Base::CLock& lock) override;
    bool WaitFor(Base::CCondition& condition, Base::CLock& lock, Milliseconds timeout) override;

    /// Moves time and returns when every thread whose time has come is awake: none of them is in
    /// SleepFor or WaitFor any more.
    /// REQUIRES: the caller holds no mutex that a thread in WaitFor needs.
    void Advance(Milliseconds duration);
    /// The same, and then waits until one of the threads has done its work and sleeps: until a
    /// SleepFor has begun since time moved. False when none has within ten real seconds.
    bool AdvanceToNextSleep(Milliseconds duration);

    /// From now on sleeps move the time themselves and return at once. Timed waits still wait for
    /// Advance.
    void SetAutomaticSleep(bool automatic);
    /// Called before each sleep with the duration, on the sleeping thread and with no lock held, so
    /// that it may set what the sleeper is to find; what it throws ends the sleep. REQUIRES: nobody
    /// sleeps yet.
    void BeforeSleep(std::function<void(Milliseconds)> hook) { beforeSleep_ = std::move(hook); }

    /// What CalendarTime starts from; takes effect at once.
    void SetStartTime(std::int64_t secondsSinceEpoch);

    /// Waits (in real time) until exactly `count` threads are in SleepFor.
    bool AwaitSleepers(std::size_t count);
    /// Waits (in real time) until exactly `count` threads are in Wait or WaitFor.
    bool AwaitWaiters(std::size_t count);

    /// The time that has passed since construction.
    Milliseconds Elapsed() const;
    /// Every duration that SleepFor was asked for, in order.
    std::vector<Milliseconds> Sleeps() const;
    /// Every duration that WaitFor was asked for, in order.
    std::vector<Milliseconds> TimedWaits() const;

  private:
    struct TimedWaiter {
        Base::CCondition* condition;
        Milliseconds deadline;
    };

    /// Waits for `changed_` in real time. False: patience has come to its end.
    bool AwaitChange(Base::CLock& lock, std::chrono::steady_clock::time_point giveUp);
    bool AnyExpired() const KYR_REQUIRES(mutex_);
    void WakeExpired(Base::CLock& lock) KYR_REQUIRES(mutex_);

    std::function<void(Milliseconds)> beforeSleep_;
    mutable Base::CMutex mutex_;
    Base::CCondition changed_;
    Milliseconds now_ KYR_GUARDED_BY(mutex_){0};
    std::int64_t startTime_ KYR_GUARDED_BY(mutex_) = kStartTime;
    bool automaticSleep_ KYR_GUARDED_BY(mutex_) = false;
    std::list<Milliseconds> sleepers_ KYR_GUARDED_BY(mutex_);  // their deadlines
    std::size_t untimedWaiters_ KYR_GUARDED_BY(mutex_) = 0;
    std::list<TimedWaiter> timedWaiters_ KYR_GUARDED_BY(mutex_);
    std::vector<Milliseconds> sleeps_ KYR_GUARDED_BY(mutex_);
    std::vector<Milliseconds> timedWaits_ KYR_GUARDED_BY(mutex_);
};

}  // namespace Kyr::Test
