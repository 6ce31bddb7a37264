#include <gmock/gmock.h>

#include "tests/lab/runner/life/ToldLife.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using LifePage::Lane;

LifePage::Event OneEvent(const std::string& line) {
    return ToldLife({"0 " + line}).events.at(0);
}

TEST(ToldEventsTest, EventStandsInTheLaneOfWhoseDoingItIs) {
    const std::pair<const char*, Lane> rows[] = {
        {"host log level=2 text=\"Received broadcast 8\"", Lane::kWatch},
        {"host publish name=OvAgentRequest by=module request=5", Lane::kWatch},
        {"host log level=2 text=\"Reconnecting to product\"", Lane::kTask},
        {"host publish name=ApplyPolicy by=host", Lane::kBus},
        {"host mined name=X records=5", Lane::kBus},
        {"host command text=\"kill pid=7\"", Lane::kBus},
        {"host command text=(killed)", Lane::kHost},
        {"host life call=Start result=ok", Lane::kHost},
        {"product request id=1 command=3", Lane::kWire},
        {"product reply id=1 status=0", Lane::kWire},
        {"product answer command=broadcast index=8", Lane::kArea},
        {"product command text=\"area set data-size 0\"", Lane::kArea},
        {"product answer command=tasklog tasks=1", Lane::kProduct},
    };
    for (const auto& [line, lane] : rows) {
        EXPECT_EQ(OneEvent(line).lane, lane) << line;
    }
}

TEST(ToldEventsTest, LogLineKeepsItsTextAndHasItsLevelAsWeight) {
    const LifePage::Event event = OneEvent("host log level=3 text=\"two  blanks\"");
    EXPECT_EQ(event.text, "two  blanks");
    EXPECT_EQ(event.level, 3);
    EXPECT_EQ(event.weight, LifePage::Weight::kWarning);
}

TEST(ToldEventsTest, LevelThatIsNoneIsNotKept) {
    for (const char* const level : {"0", "5", "x", "12"}) {
        EXPECT_EQ(OneEvent("host log text=one level=" + std::string(level)).level, 0) << level;
    }
}

TEST(ToldEventsTest, WhatComesAgainAndAgainIsADetail) {
    EXPECT_EQ(OneEvent("product request id=1 transport=alpc command=0").weight,
              LifePage::Weight::kDetail);
    EXPECT_EQ(OneEvent("product request id=1 transport=alpc command=3 name=import").weight,
              LifePage::Weight::kOrdinary);
}

TEST(ToldEventsTest, EventsStandInTheOrderOfTheirMoments) {
    LifePage::Life life;
    const auto places = TellEvents(
        Told({"7 host log level=2 text=later", "3 product ready", "7 host log level=2 text=last"}),
        life);
    EXPECT_THAT(places, ElementsAre(1, 0, 2));
    EXPECT_EQ(life.events[0].kind, "ready");
    EXPECT_EQ(life.events[2].text, "last");
}

TEST(ToldEventsTest, RowsOfALogBelongToItsPublishing) {
    LifePage::Life life;
    const auto places =
        TellEvents(Told({"0 host ready", "1 host publish name=EventLog_TASK context=4 by=module",
                         "2 host symbols name=EventLog_TASK context=4 row=0 2836-status=1 2146=8",
                         "3 host symbols name=EventLog_TASK context=4 row=1 2836-status=2"}),
                   life);
    ASSERT_EQ(life.events.size(), 2U);
    ASSERT_EQ(life.events[1].rows.size(), 2U);
    EXPECT_EQ(life.events[1].rows[0].name, "0");
    EXPECT_THAT(life.events[1].rows[0].symbols,
                ElementsAre(Pair("2836-status", "1"), Pair("2146", "8")));
    EXPECT_THAT(places, ElementsAre(0, 1, 1, 1));
}

TEST(ToldEventsTest, RowsOfALogThatNobodyPublishedStayAsTheyAre) {
    EXPECT_EQ(OneEvent("host symbols name=EventLog_TASK context=4 row=0 1-a=b").kind, "symbols");
}

TEST(ToldEventsTest, BytesAreNoField) {
    const LifePage::Event event = OneEvent("product reply id=1 status=0 bytes=4142");
    EXPECT_EQ(event.bytes, "AB");
    EXPECT_THAT(event.fields, ElementsAre(Pair("id", "1"), Pair("status", "0")));
    EXPECT_THAT(OneEvent("host command text=help").fields, IsEmpty());
}

TEST(ToldEventsTest, LineThatWasCutOffWithinAByteTellsThoseBeforeIt) {
    EXPECT_EQ(OneEvent("product reply id=1 status=0 bytes=41424").bytes, "AB");
    EXPECT_EQ(OneEvent("product reply id=1 status=0 bytes=4").bytes, "");
}

TEST(ToldEventsTest, BytesThatAreNoDigitsAreRefused) {
    EXPECT_EQ(
        Kyr::Test::ThrownText<std::invalid_argument>([] { OneEvent("product reply bytes=414g"); }),
        "'g' is no hexadecimal digit");
}

TEST(ToldEventsTest, NumberOfBytesInAnAnswerIsAField) {
    const LifePage::Event event = OneEvent("product answer batch=100 bytes=1048576");
    EXPECT_EQ(event.bytes, "");
    EXPECT_THAT(event.fields, ElementsAre(Pair("batch", "100"), Pair("bytes", "1048576")));
}

}  // namespace
}  // namespace Kyr::Lab::Runner
