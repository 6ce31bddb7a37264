#include "tests/support/time/ManualClock.h"

#include <algorithm>

#include <boost/thread/thread.hpp>

namespace Kyr::Test {

namespace {

using Base::CLock;
using RealClock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(10);
constexpr std::chrono::milliseconds kPoll(1);

/// Runs an action when a wait is left, by return or by interruption.
class CLeave {
  public:
    explicit CLeave(std::function<void()> action) : action_(std::move(action)) {}
    CLeave(const CLeave&) = delete;
    CLeave& operator=(const CLeave&) = delete;
    ~CLeave() { action_(); }

  private:
    std::function<void()> action_;
};

}  // namespace

CManualClock::~CManualClock() = default;

std::int64_t CManualClock::CalendarTime() const {
    const CLock lock(mutex_);
    return startTime_ + std::chrono::duration_cast<std::chrono::seconds>(now_).count();
}

void CManualClock::SleepFor(Milliseconds duration) {
    boost::this_thread::interruption_point();
    CLock lock(mutex_);
    sleeps_.push_back(duration);
    if (beforeSleep_) {
        lock.Unlock();
        beforeSleep_(duration);
        lock.Lock();
    }
    const Milliseconds deadline = now_ + duration;
    if (automaticSleep_ && deadline > now_) {
        now_ = deadline;
        WakeExpired(lock);
        return;
    }
    const auto self = sleepers_.insert(sleepers_.end(), deadline);
    changed_.NotifyAll();
    // Runs with the lock held, which the analysis does not see in a lambda.
    const CLeave leave([this, self]() KYR_NO_THREAD_SAFETY_ANALYSIS {
        sleepers_.erase(self);
        changed_.NotifyAll();
    });
    while (now_ < deadline) {
        changed_.Wait(lock);
    }
}

void CManualClock::Wait(Base::CCondition& condition, CLock& lock) {
    {
        const CLock own(mutex_);
        ++untimedWaiters_;
        changed_.NotifyAll();
    }
    const CLeave leave([this] {
        const CLock own(mutex_);
        --untimedWaiters_;
        changed_.NotifyAll();
    });
    condition.Wait(lock);
}

bool CManualClock::WaitFor(Base::CCondition& condition, CLock& lock, Milliseconds timeout) {
    std::list<TimedWaiter>::iterator self;
    Milliseconds deadline;
    {
        const CLock own(mutex_);
        timedWaits_.push_back(timeout);
        deadline = now_ + timeout;
        self = timedWaiters_.insert(timedWaiters_.end(), TimedWaiter{&condition, deadline});
        changed_.NotifyAll();
    }
    {
        const CLeave leave([this, self] {
            const CLock own(mutex_);
            timedWaiters_.erase(self);
            changed_.NotifyAll();
        });
        condition.Wait(lock);
    }
    const CLock own(mutex_);
    return now_ < deadline;
}

void CManualClock::Advance(Milliseconds duration) {
    const boost::this_thread::disable_interruption notInterruptible;
    CLock lock(mutex_);
    now_ += duration;
    WakeExpired(lock);
}

bool CManualClock::AdvanceToNextSleep(Milliseconds duration) {
    const boost::this_thread::disable_interruption notInterruptible;
    const auto giveUp = RealClock::now() + kPatience;
    CLock lock(mutex_);
    const std::size_t sleeps = sleeps_.size();
    now_ += duration;
    WakeExpired(lock);
    while (sleeps_.size() <= sleeps) {
        if (!AwaitChange(lock, giveUp)) {
            return false;
        }
    }
    return true;
}

bool CManualClock::AwaitChange(CLock& lock, RealClock::time_point giveUp) {
    const auto left = std::chrono::duration_cast<Milliseconds>(giveUp - RealClock::now());
    return left > Milliseconds(0) && changed_.WaitFor(lock, left);
}

bool CManualClock::AnyExpired() const {
    const auto expired = [now = now_](Milliseconds deadline) { return deadline <= now; };
    return std::any_of(sleepers_.begin(), sleepers_.end(), expired) ||
           std::any_of(timedWaiters_.begin(), timedWaiters_.end(),
                       [&](const TimedWaiter& waiter) { return expired(waiter.deadline); });
}

// A waiter registers before it blocks on its own condition, so that one signal could come too
// early: signal until every expired waiter has left.
void CManualClock::WakeExpired(CLock& lock) {
    changed_.NotifyAll();
    const auto giveUp = RealClock::now() + kPatience;
    while (AnyExpired() && RealClock::now() < giveUp) {
        for (const TimedWaiter& waiter : timedWaiters_) {
            if (waiter.deadline <= now_) {
                waiter.condition->NotifyAll();
            }
        }
        changed_.WaitFor(lock, kPoll);
    }
}

void CManualClock::SetAutomaticSleep(bool automatic) {
    const CLock lock(mutex_);
    automaticSleep_ = automatic;
}

void CManualClock::SetStartTime(std::int64_t secondsSinceEpoch) {
    const CLock lock(mutex_);
    startTime_ = secondsSinceEpoch;
}

bool CManualClock::AwaitSleepers(std::size_t count) {
    const auto giveUp = RealClock::now() + kPatience;
    CLock lock(mutex_);
    while (sleepers_.size() != count) {
        if (!AwaitChange(lock, giveUp)) {
            return false;
        }
    }
    return true;
}

bool CManualClock::AwaitWaiters(std::size_t count) {
    const auto giveUp = RealClock::now() + kPatience;
    CLock lock(mutex_);
    while (untimedWaiters_ + timedWaiters_.size() != count) {
        if (!AwaitChange(lock, giveUp)) {
            return false;
        }
    }
    return true;
}

CManualClock::Milliseconds CManualClock::Elapsed() const {
    const CLock lock(mutex_);
    return now_;
}

std::vector<CManualClock::Milliseconds> CManualClock::Sleeps() const {
    const CLock lock(mutex_);
    return sleeps_;
}

std::vector<CManualClock::Milliseconds> CManualClock::TimedWaits() const {
    const CLock lock(mutex_);
    return timedWaits_;
}

}  // namespace Kyr::Test
