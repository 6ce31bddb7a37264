#include <gmock/gmock.h>
#include <string>

#include "tests/probe/explain/LoggedLife.h"

namespace Kyr::Probe {
namespace {

using namespace Kyr::Probe::Test;
using namespace testing;

/// The stations of the only task: line of the log, state, text.
std::string RoadOf(const CLoggedLife& life) {
    const Story story = life.Told();
    std::string road;
    for (const Station& station : story.tasks.at(0).road) {
        road += std::to_string(station.place.line) + " " + InWords(station.state) + ": " +
                station.text + "\n";
    }
    return road;
}

TEST(RoadTest, TaskThatIsTakenHasAStationWhereTheLogShowsIt) {
    EXPECT_EQ(RoadOf(CLoggedLife().Connected().Kill().Add(2, "Publishing ECS indicator logs")),
              "3 the product was asked: product asked\n"
              "4 the product has it, and no outcome has come yet: product has taken it, since the "
              "connector goes on\n");
}

TEST(RoadTest, OutcomeThatCanOnlyBeOfThatTaskIsAStation) {
    EXPECT_EQ(RoadOf(CLoggedLife().Connected().Kill().Add(2, "Task status received")),
              "3 the product was asked: product asked\n"
              "4 the product has it, and no outcome has come yet: product has taken it, since the "
              "connector goes on\n"
              "4 the product has told its outcome, which this log does not have: product tells an "
              "outcome\n");
}

TEST(RoadTest, TaskThatFailsTwiceIsAskedTwiceAndGivenUp) {
    EXPECT_EQ(RoadOf(CLoggedLife()
                         .Connected()
                         .Kill()
                         .Add(4, "CKelcommChannel: Reply header has wrong size")
                         .Reconnecting()
                         .Kill()
                         .Add(4, "CKelcommChannel: Reply header has wrong size")
                         .Add(4, std::string(kRetriesExhausted) + "KillProcessByPid")),
              "3 the product was asked: product asked\n"
              "4 failed, and is not tried again: a reply of the product is of another protocol\n"
              "5 failed, and is tried again: connector connects again\n"
              "7 the product was asked: product asked again\n"
              "8 failed, and is not tried again: a reply of the product is of another protocol\n"
              "9 given up: given up: it failed twice\n");
}

TEST(RoadTest, FailureOfWhatWasAskedMeanwhileIsNotOnTheRoad) {
    EXPECT_EQ(RoadOf(CLoggedLife()
                         .Connected()
                         .Kill()
                         .Add(4, kRefused)
                         .Reconnecting()
                         .Add(2, "Connected to product, processing tasks")
                         .Add(2, "Publishing ECS telemetry logs")),
              "3 the product was asked: product asked\n"
              "4 the product has it, and no outcome has come yet: product has taken it, since the "
              "connector goes on\n");
}

TEST(RoadTest, WhatTheHostTellsOfATaskAreStations) {
    EXPECT_EQ(RoadOf(CLoggedLife()
                         .AddLine(std::string("answer command=kill ids=") + kFirst + "," + kSecond +
                                  "," + kThird)
                         .AddLine(std::string("symbols type=10368 2842-task-first=") + kFirst +
                                  " 2844-task-second=" + kSecond + " 2846-task-third=" + kThird +
                                  " 2848-outcome=0x000000010000000b")),
              "0 waits: the product was not asked yet: given to the host\n"
              "1 done: server is told: done\n");
}

}  // namespace
}  // namespace Kyr::Probe
