// A point in time until which a call may block, or none.
//
// Native time-outs count 100 ns: negative ones are relative, positive ones are absolute times since
// 1601, zero does not wait. This layer plays the operating system, so it reads the system's clocks.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace Kyr::PortLayer::Detail {

class CDeadline {
  public:
    using Clock = std::chrono::steady_clock;

    static CDeadline Never() { return CDeadline(); }
    /// Has always passed: looks once and does not wait.
    static CDeadline Now() { return CDeadline(Clock::time_point::min()); }
    static CDeadline In(std::chrono::nanoseconds duration) {
        return CDeadline(Clock::now() + duration);
    }
    /// Null never passes.
    static CDeadline FromNative(const std::int64_t* timeout);
    /// Milliseconds of the classic API; 0xFFFFFFFF never passes.
    static CDeadline FromMilliseconds(std::uint32_t milliseconds);

    bool IsNever() const { return !at_; }
    bool HasPassed() const {
        return at_ && (*at_ == Clock::time_point::min() || Clock::now() >= *at_);
    }
    /// REQUIRES: not IsNever().
    Clock::time_point At() const { return *at_; }
    /// For poll: -1 without end, else rounded up and never negative.
    int PollMilliseconds() const;

  private:
    CDeadline() = default;
    explicit CDeadline(Clock::time_point at) : at_(at) {}

    std::optional<Clock::time_point> at_;
};

}  // namespace Kyr::PortLayer::Detail
