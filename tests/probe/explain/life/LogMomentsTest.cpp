#include <gmock/gmock.h>
#include <sstream>
#include <string>

#include "probe/explain/life/LogMoments.h"

namespace Kyr::Probe {
namespace {

using namespace std::chrono_literals;
using LifePage::Clock;
using testing::ElementsAre;

constexpr char kText[] =
    " log level=2 source=COvAgentConnectorModule text=\"Connecting to product\"";
constexpr char kOfAnotherHost[] = "COvAgentConnectorModule: Connecting to product";

LogMoments MomentsIn(const std::string& lines) {
    HostLog log;
    std::istringstream input(lines);
    ReadHostLog(input, "host.log", log);
    return MomentsOf(log);
}

std::string At(const std::string& time, const std::string& stamp = "") {
    return time + kText + (stamp.empty() ? "" : " at=" + stamp) + "\n";
}

TEST(LogMomentsTest, MomentsAreThoseOfTheFirstLineOn) {
    const LogMoments moments =
        MomentsIn(At("12:00:00.250") + At("12:00:01.000") + At("13:00:01.001"));
    EXPECT_EQ(moments.clock, Clock::kTimeOfDay);
    EXPECT_EQ(moments.begin, 43200250ms);
    EXPECT_THAT(moments.moments, ElementsAre(0ms, 750ms, 3600751ms));
}

TEST(LogMomentsTest, MidnightIsPassed) {
    EXPECT_THAT(MomentsIn(At("23:59:59.000") + At("00:00:01.000")).moments, ElementsAre(0s, 2s));
}

TEST(LogMomentsTest, ClockThatWasSetBackStandsStill) {
    EXPECT_THAT(MomentsIn(At("12:00:00.000") + At("11:00:00.000") + At("11:00:01.000")).moments,
                ElementsAre(0s, 0s, 1s));
}

TEST(LogMomentsTest, StampsKnowOfWholeDays) {
    // Two days, an hour and a tenth of a second.
    EXPECT_THAT(MomentsIn(At("12:00:00.000", "5") + At("13:00:00.000", "176400100000005")).moments,
                ElementsAre(0s, 49h));
    EXPECT_THAT(MomentsIn(At("12:00:00.000", "5") + At("13:00:00.000", "176399900000005")).moments,
                ElementsAre(0s, 49h));
}

TEST(LogMomentsTest, StampsThatDoNotAgreeWithTheTimesAreNone) {
    for (const std::string stamp :
         {"4", "5", "176403000000005", "176397000000005", "18446744073709551615"}) {
        EXPECT_THAT(MomentsIn(At("12:00:00.000", "5") + At("13:00:00.000", stamp)).moments,
                    ElementsAre(0h, 1h))
            << stamp;
    }
}

TEST(LogMomentsTest, LineWithoutATimeHasThatOfTheLineBefore) {
    EXPECT_THAT(MomentsIn(std::string(kOfAnotherHost) + "\n" + At("12:00:00.000") +
                          At("12:00:05.000") + kOfAnotherHost + "\n")
                    .moments,
                ElementsAre(0s, 0s, 5s, 5s));
}

TEST(LogMomentsTest, LogWithoutTimesHasPlaces) {
    const LogMoments moments =
        MomentsIn(std::string(kOfAnotherHost) + "\nnobody's\n" + kOfAnotherHost + "\n");
    EXPECT_EQ(moments.clock, Clock::kOrder);
    EXPECT_EQ(moments.begin, 0ms);
    EXPECT_THAT(moments.moments, ElementsAre(0ms, 1ms));
}

TEST(LogMomentsTest, TimeThatNoClockShowsDoesNoHarm) {
    EXPECT_THAT(MomentsIn(At("99:99:99.999") + At("05:00:00.000")).moments,
                ElementsAre(0ms, 1160001ms));
}

}  // namespace
}  // namespace Kyr::Probe
