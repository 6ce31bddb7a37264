#include "logs/SymbolTime.h"

#include <stdexcept>

namespace Kyr::Common::Logs {

namespace {

using boost::posix_time::ptime;
using boost::posix_time::time_duration;

constexpr std::int64_t kTicksPerSecond = 1000000;
// The tick count of 1970-01-01, as the date-time library counts: from the beginning of its Julian
// days.
constexpr std::int64_t kUnixEpoch = 210866803200000000;
constexpr std::int64_t kFirstSecond = -17987443200;  // 1400-01-01T00:00:00
constexpr std::int64_t kLastSecond = 253402300799;   // 9999-12-31T23:59:59
constexpr std::int64_t kFirstTick = kUnixEpoch + kFirstSecond * kTicksPerSecond;
constexpr std::int64_t kLastTick = kUnixEpoch + (kLastSecond + 1) * kTicksPerSecond - 1;

static_assert(ptime::time_duration_type::num_fractional_digits() == 6,
              "the tick count is part of the binary form");

/// The library keeps the tick count to derived classes.
struct Ticks : ptime {
    explicit Ticks(const ptime& time) : ptime(time) {}
    std::int64_t Count() const { return time_.time_count(); }
};

void CheckCalendar(std::int64_t ticks) {
    if (ticks < kFirstTick || ticks > kLastTick) {
        throw std::out_of_range("Year is out of valid range: 1400..9999");
    }
}

}  // namespace

ptime FromUtcTime(const DataDefinition::Common::UTCTime& time) {
    // The library's date checks year, month and day, but takes them as 16 bits.
    const auto field = [](std::int32_t value) {
        return static_cast<unsigned short>(value < 0 || value > 9999 ? 10000 : value);
    };
    const boost::gregorian::date date(field(time.year()), field(time.month()), field(time.day()));
    // Hours and so on are not checked one by one: they only move the time, and the sum must be a
    // date.
    const std::int64_t seconds =
        (std::int64_t{time.hour()} * 60 + time.minute()) * 60 + time.second();
    const std::int64_t ticks =
        ToTicks(ptime(date)) + seconds * kTicksPerSecond + time.nanos() / 1000;
    CheckCalendar(ticks);
    return FromTicks(ticks);
}

void ToUtcTime(const ptime& time, DataDefinition::Common::UTCTime& target) {
    CheckCalendar(ToTicks(time));
    const auto date = time.date().year_month_day();
    const time_duration clock = time.time_of_day();
    target.set_year(date.year);
    target.set_month(date.month.as_number());
    target.set_day(date.day);
    target.set_hour(static_cast<std::int32_t>(clock.hours()));
    target.set_minute(static_cast<std::int32_t>(clock.minutes()));
    target.set_second(static_cast<std::int32_t>(clock.seconds()));
    // Not set where there is no fraction: a field that is set to 0 makes another message.
    if (clock.fractional_seconds() != 0) {
        target.set_nanos(static_cast<std::int32_t>(clock.fractional_seconds() * 1000));
    }
}

ptime FromCalendarTime(std::int64_t seconds) {
    if (seconds < kFirstSecond || seconds > kLastSecond) {
        throw std::runtime_error("could not convert calendar time to UTC time");
    }
    return FromTicks(kUnixEpoch + seconds * kTicksPerSecond);
}

ptime FromTicks(std::int64_t ticks) {
    return ptime(ptime::time_rep_type(ptime::time_rep_type::int_type(ticks)));
}

std::int64_t ToTicks(const ptime& time) {
    return Ticks(time).Count();
}

}  // namespace Kyr::Common::Logs
