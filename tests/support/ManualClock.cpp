#include "tests/support/ManualClock.h"

#include <algorithm>

#include <boost/thread/thread.hpp>

namespace Kyr::Test {

namespace {

using Lock = boost::unique_lock<boost::mutex>;

constexpr boost::chrono::seconds kPatience(10);
constexpr boost::chrono::milliseconds kPoll(1);

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
    const Lock lock(mutex_);
    return startTime_ + std::chrono::duration_cast<std::chrono::seconds>(now_).count();
}

void CManualClock::SleepFor(Milliseconds duration) {
    boost::this_thread::interruption_point();
    Lock lock(mutex_);
    sleeps_.push_back(duration);
    const Milliseconds deadline = now_ + duration;
    if (automaticSleep_ && deadline > now_) {
        now_ = deadline;
        WakeExpired(lock);
        return;
    }
    const auto self = sleepers_.insert(sleepers_.end(), deadline);
    changed_.notify_all();
    const CLeave leave([this, self] {
        sleepers_.erase(self);
        changed_.notify_all();
    });
    while (now_ < deadline) {
        changed_.wait(lock);
    }
}

void CManualClock::Wait(boost::condition_variable& condition, Lock& lock) {
    {
        const Lock own(mutex_);
        ++untimedWaiters_;
        changed_.notify_all();
    }
    const CLeave leave([this] {
        const Lock own(mutex_);
        --untimedWaiters_;
        changed_.notify_all();
    });
    condition.wait(lock);
}

bool CManualClock::WaitFor(boost::condition_variable& condition, Lock& lock, Milliseconds timeout) {
    std::list<TimedWaiter>::iterator self;
    Milliseconds deadline;
    {
        const Lock own(mutex_);
        timedWaits_.push_back(timeout);
        deadline = now_ + timeout;
        self = timedWaiters_.insert(timedWaiters_.end(), TimedWaiter{&condition, deadline});
        changed_.notify_all();
    }
    {
        const CLeave leave([this, self] {
            const Lock own(mutex_);
            timedWaiters_.erase(self);
            changed_.notify_all();
        });
        condition.wait(lock);
    }
    const Lock own(mutex_);
    return now_ < deadline;
}

void CManualClock::Advance(Milliseconds duration) {
    const boost::this_thread::disable_interruption notInterruptible;
    Lock lock(mutex_);
    now_ += duration;
    WakeExpired(lock);
}

bool CManualClock::AdvanceToNextSleep(Milliseconds duration) {
    const boost::this_thread::disable_interruption notInterruptible;
    Lock lock(mutex_);
    const std::size_t sleeps = sleeps_.size();
    now_ += duration;
    WakeExpired(lock);
    return changed_.wait_for(lock, kPatience, [&] { return sleeps_.size() > sleeps; });
}

bool CManualClock::AnyExpired() const {
    return std::any_of(sleepers_.begin(), sleepers_.end(),
                       [this](Milliseconds deadline) { return deadline <= now_; }) ||
           std::any_of(timedWaiters_.begin(), timedWaiters_.end(),
                       [this](const TimedWaiter& waiter) { return waiter.deadline <= now_; });
}

// A waiter registers before it blocks on its own condition, so that one signal could come too
// early: signal until every expired waiter has left.
void CManualClock::WakeExpired(Lock& lock) {
    changed_.notify_all();
    const auto giveUp = boost::chrono::steady_clock::now() + kPatience;
    while (AnyExpired() && boost::chrono::steady_clock::now() < giveUp) {
        for (const TimedWaiter& waiter : timedWaiters_) {
            if (waiter.deadline <= now_) {
                waiter.condition->notify_all();
            }
        }
        changed_.wait_for(lock, kPoll);
    }
}

void CManualClock::SetAutomaticSleep(bool automatic) {
    const Lock lock(mutex_);
    automaticSleep_ = automatic;
}

void CManualClock::SetStartTime(std::int64_t secondsSinceEpoch) {
    const Lock lock(mutex_);
    startTime_ = secondsSinceEpoch;
}

bool CManualClock::Await(const std::function<bool()>& reached) {
    Lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, reached);
}

bool CManualClock::AwaitSleepers(std::size_t count) {
    return Await([this, count] { return sleepers_.size() == count; });
}

bool CManualClock::AwaitWaiters(std::size_t count) {
    return Await([this, count] { return untimedWaiters_ + timedWaiters_.size() == count; });
}

CManualClock::Milliseconds CManualClock::Elapsed() const {
    const Lock lock(mutex_);
    return now_;
}

std::vector<CManualClock::Milliseconds> CManualClock::Sleeps() const {
    const Lock lock(mutex_);
    return sleeps_;
}

std::vector<CManualClock::Milliseconds> CManualClock::TimedWaits() const {
    const Lock lock(mutex_);
    return timedWaits_;
}

}  // namespace Kyr::Test
