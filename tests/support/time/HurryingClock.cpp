#include "tests/support/time/HurryingClock.h"

#include <algorithm>

namespace Kyr::Test {

CHurryingClock::CHurryingClock(int factor)
    : factor_(factor),
      system_(Base::SystemClock()),
      startTime_(system_->CalendarTime()),
      start_(std::chrono::steady_clock::now()) {}

std::int64_t CHurryingClock::CalendarTime() const {
    const auto passed = std::chrono::steady_clock::now() - start_;
    return startTime_ + std::chrono::duration_cast<std::chrono::seconds>(passed * factor_).count();
}

void CHurryingClock::SleepFor(std::chrono::milliseconds duration) {
    system_->SleepFor(Shortened(duration));
}

void CHurryingClock::Wait(Base::CCondition& condition, Base::CLock& lock) {
    system_->Wait(condition, lock);
}

bool CHurryingClock::WaitFor(Base::CCondition& condition, Base::CLock& lock,
                             std::chrono::milliseconds timeout) {
    return system_->WaitFor(condition, lock, Shortened(timeout));
}

std::chrono::milliseconds CHurryingClock::Shortened(std::chrono::milliseconds duration) const {
    return std::max(duration / factor_, std::chrono::milliseconds(1));
}

}  // namespace Kyr::Test
