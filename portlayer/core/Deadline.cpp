#include "portlayer/core/Deadline.h"

#include <algorithm>

namespace Kyr::PortLayer::Detail {

namespace {

// Longer waits are as good as this one, and their sums stay far from overflow.
constexpr std::chrono::hours kLongestWait{24 * 365 * 10};
// 100 ns ticks between 1601 and 1970.
constexpr std::int64_t kTicksTo1970 = 116444736000000000;

}  // namespace

CDeadline CDeadline::FromNative(const std::int64_t* timeout) {
    if (timeout == nullptr) {
        return Never();
    }
    std::int64_t ticks = 0;
    if (*timeout > 0) {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        const auto nowTicks =
            std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() / 100 + kTicksTo1970;
        ticks = std::max<std::int64_t>(0, *timeout - nowTicks);
    } else {
        // Zero or relative. The smallest number has no positive counterpart.
        ticks = *timeout == INT64_MIN ? INT64_MAX : -*timeout;
    }
    const std::chrono::nanoseconds longest = kLongestWait;
    return In(ticks > longest.count() / 100 ? longest : std::chrono::nanoseconds(ticks * 100));
}

CDeadline CDeadline::FromMilliseconds(std::uint32_t milliseconds) {
    return milliseconds == 0xFFFFFFFF ? Never() : In(std::chrono::milliseconds(milliseconds));
}

int CDeadline::PollMilliseconds() const {
    if (!at_) {
        return -1;
    }
    if (HasPassed()) {
        return 0;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*at_ - Clock::now()).count();
    // Rounded up, so that a wait does not end just before the deadline and is tried again at once.
    // An hour at most, which fits the int: who waits looks at the deadline again.
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::int64_t{1000} * 60 * 60));
}

}  // namespace Kyr::PortLayer::Detail
