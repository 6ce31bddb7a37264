// The times of symbol rows: time points of the date library, in UTC with microseconds.
//
// A time point is one 64-bit tick count; 210866803200000000 (0x02ED263D83A88000) is
// 1970-01-01T00:00:00. Any count is a time point, but only the years 1400 to 9999 have a calendar
// date.
#pragma once

#include <cstdint>

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include "host/proto/common.pb.h"

namespace Kyr::Common::Logs {

/// REQUIRES: `time` is initialised.
/// Hours, minutes and seconds are added up, whatever their size. Throws std::out_of_range when the
/// date is none or the sum has no calendar date.
boost::posix_time::ptime FromUtcTime(const DataDefinition::Common::UTCTime& time);

/// Sets `nanos` only when there is a fraction of a second.
/// Throws std::out_of_range when `time` has no calendar date.
void ToUtcTime(const boost::posix_time::ptime& time, DataDefinition::Common::UTCTime& target);

/// `seconds` since 1970-01-01T00:00:00.
/// Throws std::runtime_error "could not convert calendar time to UTC time".
boost::posix_time::ptime FromCalendarTime(std::int64_t seconds);

boost::posix_time::ptime FromTicks(std::int64_t ticks);
std::int64_t ToTicks(const boost::posix_time::ptime& time);

}  // namespace Kyr::Common::Logs
