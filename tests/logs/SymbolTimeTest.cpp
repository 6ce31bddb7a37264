#include <array>
#include <limits>

#include "logs/SymbolTime.h"
#include "tests/logs/SymbolFixture.h"

namespace Kyr::Common::Logs {
namespace {

using DataDefinition::Common::UTCTime;
using Test::SomeUtcTime;
using Test::ThrownText;

// 1970-01-01T00:00:00 and, one day later, 1970-01-02T00:00:00.
constexpr std::int64_t kEpoch = 0x02ED263D83A88000;
constexpr std::int64_t kNextDay = kEpoch + 86400000000;

UTCTime Epoch() {
    UTCTime time;
    time.set_year(1970);
    time.set_month(1);
    time.set_day(1);
    time.set_hour(0);
    time.set_minute(0);
    time.set_second(0);
    return time;
}

UTCTime BackFrom(std::int64_t ticks) {
    UTCTime time;
    ToUtcTime(FromTicks(ticks), time);
    return time;
}

TEST(SymbolTimeTest, TicksOfTheEpochAreTheBinaryForms) {
    EXPECT_EQ(kEpoch, 210866803200000000);
    EXPECT_EQ(ToTicks(FromUtcTime(Epoch())), kEpoch);
}

TEST(SymbolTimeTest, NanosBecomeMicroseconds) {
    auto time = Epoch();
    time.set_nanos(123456789);
    EXPECT_EQ(ToTicks(FromUtcTime(time)), kEpoch + 123456);
}

TEST(SymbolTimeTest, NanosAreSetOnlyForAFraction) {
    EXPECT_FALSE(BackFrom(kEpoch).has_nanos());
    EXPECT_EQ(BackFrom(kEpoch + 1).nanos(), 1000);
    EXPECT_EQ(BackFrom(kEpoch + 999999).nanos(), 999999000);
}

TEST(SymbolTimeTest, EveryFieldComesBack) {
    auto time = SomeUtcTime();
    time.set_nanos(5000);
    UTCTime back;
    ToUtcTime(FromUtcTime(time), back);
    EXPECT_EQ(back.ShortDebugString(),
              "year: 2023 month: 11 day: 14 hour: 22 minute: 13 second: 20 nanos: 5000");
}

TEST(SymbolTimeTest, HoursBeyondTheDayRunOver) {
    auto time = Epoch();
    time.set_hour(23);
    time.set_minute(59);
    time.set_second(60);
    EXPECT_EQ(ToTicks(FromUtcTime(time)), kNextDay);
}

TEST(SymbolTimeTest, DateThatIsNoneIsRefused) {
    const std::vector<std::array<int, 3>> dates = {
        {2023, 2, 29}, {2023, 13, 1}, {2023, 0, 1},     {2023, 1, 0},     {1399, 1, 1},
        {10000, 1, 1}, {-1, 1, 1},    {2023, 65537, 1}, {2023, 1, 65537}, {65536 + 2023, 1, 1}};
    for (const auto& [year, month, day] : dates) {
        auto time = Epoch();
        time.set_year(year);
        time.set_month(month);
        time.set_day(day);
        EXPECT_THROW(FromUtcTime(time), std::out_of_range) << year << ' ' << month << ' ' << day;
    }
}

TEST(SymbolTimeTest, LastSecondOfTheCalendarIsTakenAndTheNextIsRefused) {
    auto time = Epoch();
    time.set_year(9999);
    time.set_month(12);
    time.set_day(31);
    time.set_hour(23);
    time.set_minute(59);
    time.set_second(59);
    EXPECT_EQ(ToTicks(FromUtcTime(time)), kEpoch + 253402300799000000);
    time.set_second(60);
    EXPECT_THROW(FromUtcTime(time), std::out_of_range);
}

TEST(SymbolTimeTest, SumOutsideTheCalendarIsRefused) {
    auto time = Epoch();
    time.set_hour(std::numeric_limits<std::int32_t>::max());
    EXPECT_THROW(FromUtcTime(time), std::out_of_range);
    time.set_hour(std::numeric_limits<std::int32_t>::min());
    time.set_minute(std::numeric_limits<std::int32_t>::min());
    EXPECT_THROW(FromUtcTime(time), std::out_of_range);
}

TEST(SymbolTimeTest, RefusalNamesTheYearsOfTheCalendar) {
    auto time = Epoch();
    time.set_hour(std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(ThrownText<std::out_of_range>([&] { FromUtcTime(time); }),
              "Year is out of valid range: 1400..9999");
    EXPECT_EQ(ThrownText<std::out_of_range>([&] { BackFrom(kEpoch + 253402300800000000); }),
              "Year is out of valid range: 1400..9999");
}

TEST(SymbolTimeTest, FirstAndLastCalendarTimesComeBack) {
    EXPECT_EQ(BackFrom(kEpoch - 17987443200000000).ShortDebugString(),
              "year: 1400 month: 1 day: 1 hour: 0 minute: 0 second: 0");
    EXPECT_EQ(BackFrom(kEpoch + 253402300799999999).ShortDebugString(),
              "year: 9999 month: 12 day: 31 hour: 23 minute: 59 second: 59 nanos: 999999000");
}

TEST(SymbolTimeTest, TicksWithoutACalendarDateAreRefused) {
    for (const std::int64_t ticks :
         {kEpoch - 17987443200000001, kEpoch + 253402300800000000, std::int64_t{0},
          std::int64_t{-1}, std::int64_t{0x7FFFFFFFFFFFFFFE},
          std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_THROW(BackFrom(ticks), std::out_of_range) << ticks;
    }
}

// 164 times 400 years after 2000-01-01: the year, 67600, would be 2064 in 16 bits.
TEST(SymbolTimeTest, YearBeyond16BitsIsRefusedAndNotCut) {
    EXPECT_THROW(BackFrom(kEpoch + 2071082736000000000), std::out_of_range);
}

TEST(SymbolTimeTest, EveryTickCountComesBack) {
    for (const std::int64_t ticks :
         {std::int64_t{0}, std::int64_t{-1}, kEpoch, std::int64_t{0x7FFFFFFFFFFFFFFE},
          std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_EQ(ToTicks(FromTicks(ticks)), ticks);
    }
}

TEST(SymbolTimeTest, DefaultTimePointHasTheLibrarysTickCount) {
    EXPECT_EQ(ToTicks(boost::posix_time::ptime()), 0x7FFFFFFFFFFFFFFE);
}

TEST(SymbolTimeTest, CalendarTimeCountsFromTheEpoch) {
    EXPECT_EQ(ToTicks(FromCalendarTime(0)), kEpoch);
    EXPECT_EQ(ToTicks(FromCalendarTime(86400)), kNextDay);
    EXPECT_EQ(ToTicks(FromCalendarTime(-1)), kEpoch - 1000000);
}

TEST(SymbolTimeTest, FirstAndLastSecondOfTheCalendarAreTaken) {
    EXPECT_EQ(ToTicks(FromCalendarTime(-17987443200)), kEpoch - 17987443200000000);
    EXPECT_EQ(ToTicks(FromCalendarTime(253402300799)), kEpoch + 253402300799000000);
}

TEST(SymbolTimeTest, CalendarTimeIsNotCutTo32Bits) {
    EXPECT_EQ(BackFrom(ToTicks(FromCalendarTime(4294967296))).year(), 2106);
}

TEST(SymbolTimeTest, CalendarTimeOutsideTheCalendarIsRefused) {
    const std::string text = "could not convert calendar time to UTC time";
    for (const std::int64_t seconds :
         {std::int64_t{253402300800}, std::int64_t{-17987443201},
          std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_EQ(ThrownText([&] { FromCalendarTime(seconds); }), text);
    }
}

}  // namespace
}  // namespace Kyr::Common::Logs
