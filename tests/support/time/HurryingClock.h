// A clock that runs faster than the system's by a whole factor: waits stay real waits of real
// threads, only shorter, so that ten-second delays can happen ten thousand times.
//
// Threads, interruption: as IClock. Waits are rounded up to a millisecond.
#pragma once

#include "base/Clock.h"

namespace Kyr::Test {

class CHurryingClock final : public Base::IClock {
  public:
    explicit CHurryingClock(int factor);

    std::int64_t CalendarTime() const override;
    void SleepFor(std::chrono::milliseconds duration) override;
    void Wait(Base::CCondition& condition, Base::CLock& lock) override;
    bool WaitFor(Base::CCondition& condition, Base::CLock& lock,
                 std::chrono::milliseconds timeout) override;

  private:
    std::chrono::milliseconds Shortened(std::chrono::milliseconds duration) const;

    const int factor_;
    const boost::shared_ptr<Base::IClock> system_;
    const std::int64_t startTime_;
    const std::chrono::steady_clock::time_point start_;
};

}  // namespace Kyr::Test
