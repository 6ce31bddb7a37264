#include "proofs/nth/BoundedClock.h"

#include <utility>

namespace Kyr::Proofs::Nth {

namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr Milliseconds kBetweenLooks(5000);  // the watch's

// Of the calling thread.
thread_local std::uint64_t sleptIn = 0;  // the stretch
thread_local Milliseconds slept{0};

}  // namespace

CBoundedClock::CBoundedClock(boost::shared_ptr<Base::IClock> clock) : clock_(std::move(clock)) {}

void CBoundedClock::LetPass(Milliseconds duration) {
    allowed_ = duration;
    ++stretch_;
}

void CBoundedClock::SleepFor(Milliseconds duration) {
    if (duration == kBetweenLooks) {
        ++looks_;
    }
    for (;;) {
        if (sleptIn != stretch_) {
            sleptIn = stretch_;
            slept = Milliseconds(0);
        }
        if (slept + duration <= allowed_.load()) {
            slept += duration;
            clock_->SleepFor(duration);
            return;
        }
        clock_->SleepFor(Milliseconds(1));
    }
}

void CBoundedClock::Wait(Base::CCondition& condition, Base::CLock& lock) {
    clock_->Wait(condition, lock);
}

bool CBoundedClock::WaitFor(Base::CCondition& condition, Base::CLock& lock, Milliseconds timeout) {
    return clock_->WaitFor(condition, lock, timeout);
}

}  // namespace Kyr::Proofs::Nth
