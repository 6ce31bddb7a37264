// A clock that hurries, but in which a thread sleeps no longer than it is allowed to: a sleep that
// would go beyond ends when more is allowed. So what has to happen within a bound does, however
// busy the machine is, and what is only mended later never is.
//
// Threads, interruption: as IClock; LetPass by one thread. There is one such clock in a process.
#pragma once

#include <atomic>

#include "base/Clock.h"

namespace Kyr::Proofs::Nth {

class CBoundedClock final : public Base::IClock {
  public:
    explicit CBoundedClock(boost::shared_ptr<Base::IClock> clock);

    /// Each thread may sleep so long from now on, all its sleeps together.
    void LetPass(std::chrono::milliseconds duration);
    /// How often the watch has gone to sleep, each time behind a look. Nobody else sleeps so long.
    std::uint64_t Looks() const { return looks_; }

    std::int64_t CalendarTime() const override { return clock_->CalendarTime(); }
    void SleepFor(std::chrono::milliseconds duration) override;
    void Wait(Base::CCondition& condition, Base::CLock& lock) override;
    bool WaitFor(Base::CCondition& condition, Base::CLock& lock,
                 std::chrono::milliseconds timeout) override;

  private:
    const boost::shared_ptr<Base::IClock> clock_;
    std::atomic<std::chrono::milliseconds> allowed_{std::chrono::milliseconds(0)};
    std::atomic<std::uint64_t> stretch_{0};  // how often LetPass was called
    std::atomic<std::uint64_t> looks_{0};
};

}  // namespace Kyr::Proofs::Nth
