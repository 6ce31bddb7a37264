#include "probe/explain/life/LogMoments.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Kyr::Probe {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kDayOfAClock = std::chrono::hours(24);

// Between two lines. Further back than this a time is one of the next day; less far, somebody has
// set the clock, or two threads have written at once.
constexpr milliseconds kFurthestBack = std::chrono::hours(12);

// A stamp is taken about when the time is. Of a machine that was started anew they do not agree.
constexpr LifePage::Moment kMostBetweenTimeAndStamp = std::chrono::milliseconds(500);

// Nobody was silent for longer, or wrote one log for longer. Moments are added up to it only.
constexpr LifePage::Moment kLongestSilence = std::chrono::hours(24) * 366;
constexpr LifePage::Moment kLongestLog = kLongestSilence * 50;

/// Of a time as lines have it: HH:MM:SS.mmm, in digits.
std::optional<milliseconds> TimeOfDay(const std::string& time) {
    constexpr std::size_t kLength = 12;
    if (time.size() != kLength) {
        return std::nullopt;
    }
    const auto digit = [&](std::size_t at) { return time[at] - '0'; };
    const auto two = [&](std::size_t at) { return digit(at) * 10 + digit(at + 1); };
    const int seconds = (two(0) * 60 + two(3)) * 60 + two(6);
    const int thousandths = digit(9) * 100 + two(10);
    return (std::chrono::seconds(seconds) + milliseconds(thousandths)) % kDayOfAClock;
}

/// From one time of the day to the next one.
milliseconds Forward(milliseconds from, milliseconds to) {
    const milliseconds step = to - from;
    if (step >= milliseconds(0)) {
        return step;
    }
    return step < -kFurthestBack ? step + kDayOfAClock : milliseconds(0);
}

/// A line with a time.
struct Written {
    milliseconds time{};
    std::optional<std::uint64_t> stamp;
};

/// In which nothing was written: times do not tell of them, but stamps that agree with the times.
LifePage::Moment WholeDays(const Written& from, const Written& to, LifePage::Moment byTimes) {
    if (!from.stamp || !to.stamp || *to.stamp < *from.stamp ||
        *to.stamp - *from.stamp > static_cast<std::uint64_t>(kLongestSilence.count())) {
        return LifePage::Moment(0);
    }
    const LifePage::Moment more = LifePage::Moment(*to.stamp - *from.stamp) - byTimes;
    const auto days = (more + kMostBetweenTimeAndStamp) / LifePage::Moment(kDayOfAClock);
    const LifePage::Moment whole = days * LifePage::Moment(kDayOfAClock);
    const LifePage::Moment apart = more - whole;
    const bool agree = apart < kMostBetweenTimeAndStamp && -apart <= kMostBetweenTimeAndStamp;
    return agree ? whole : LifePage::Moment(0);
}

}  // namespace

LogMoments MomentsOf(const HostLog& log) {
    LogMoments result;
    std::optional<Written> last;
    LifePage::Moment at{};
    for (const HostLine& line : log.lines) {
        const auto time = TimeOfDay(line.time);
        if (time) {
            const Written here{*time, line.stamp};
            if (last) {
                const LifePage::Moment byTimes = Forward(last->time, here.time);
                const LifePage::Moment step = byTimes + WholeDays(*last, here, byTimes);
                at += step < kLongestLog - at ? step : LifePage::Moment(0);
            } else {
                result.begin = here.time;
                result.clock = LifePage::Clock::kTimeOfDay;
            }
            last = here;
        }
        result.moments.push_back(at);
    }
    if (!last) {
        for (std::size_t line = 0; line < result.moments.size(); ++line) {
            result.moments[line] = milliseconds(line);
        }
    }
    return result;
}

}  // namespace Kyr::Probe
