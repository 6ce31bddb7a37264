#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <vector>

#include "lifepage/LifeJson.h"
#include "lifepage/LifePage.h"
#include "probe/explain/life/LogLife.h"
#include "tests/probe/explain/LoggedLife.h"

namespace Kyr::Probe {
namespace {

using namespace Kyr::Probe::Test;
using namespace std::chrono_literals;
using namespace testing;
using LifePage::Lane;
using LifePage::Weight;

LifePage::Life LifeIn(const std::vector<std::string>& texts) {
    HostLog log;
    for (std::size_t file = 0; file < texts.size(); ++file) {
        std::istringstream input(texts[file]);
        ReadHostLog(input, "logs/" + std::to_string(file) + ".log", log);
    }
    return LifeOf(log, Tell(log), "a test");
}

LifePage::Life LifeIn(const CLoggedLife& life) {
    return LifeIn({life.Text()});
}

TEST(LogLifeTest, EmptyLogIsAnEmptyLife) {
    EXPECT_EQ(LifePage::ToJson({LifeIn(std::vector<std::string>{""})}),
              R"({"form":"life-of-a-connector","version":1,"lives":[{"title":"0.log",)"
              R"("told-by":"a test","begin":0,"length":0.0,"processes":[],"steps":[],"events":[],)"
              R"("tasks":[],"records":[],"outages":[],"neutral":[],"clock":"order"}]})");
}

TEST(LogLifeTest, TitleNamesFilesWithoutTheirFolders) {
    EXPECT_EQ(LifeIn({"", "", ""}).title, "0.log, 1.log, 2.log");
    EXPECT_EQ(LifeIn({"", "", "", ""}).title, "0.log to 3.log, 4 files");
}

TEST(LogLifeTest, BeginAndLengthAreThoseOfTheTimesInTheLog) {
    const LifePage::Life life = LifeIn(CLoggedLife().Wait(60).Connected());
    EXPECT_EQ(life.clock, LifePage::Clock::kTimeOfDay);
    EXPECT_EQ(life.begin.time_since_epoch(), 43260s);  // 12:01
    EXPECT_EQ(life.length, 1s);
}

TEST(LogLifeTest, LineIsAnEventWithWhatItMeans) {
    const LifePage::Life life = LifeIn(CLoggedLife().Connected().Add(4, kPortGone));
    ASSERT_THAT(life.events, SizeIs(3));
    const LifePage::Event& event = life.events[2];
    EXPECT_EQ(event.at, 2s);
    EXPECT_EQ(event.lane, Lane::kTask);
    EXPECT_EQ(event.kind, "log");
    EXPECT_EQ(event.level, 4);
    EXPECT_EQ(event.weight, Weight::kError);
    EXPECT_EQ(event.text, "CKelcommChannel: Send request failed with kelcomm error 1");
    EXPECT_THAT(event.fields,
                ElementsAre(Pair("place", "logs/0.log:3"),
                            Pair("why",
                                 "no exchange with the product, code 1: the port is gone, or the "
                                 "product has ended in the middle"),
                            Pair("next",
                                 "start the product, or look why it has ended; `ovprobe doctor` "
                                 "tells more")));
    EXPECT_THAT(event.bytes, IsEmpty());
}

TEST(LogLifeTest, LinesOfTheWatchHaveALaneOfTheirOwn) {
    const LifePage::Life life = LifeIn(CLoggedLife()
                                           .Add(2, "Received broadcast 3")
                                           .Add(2, "Publishing request 4")
                                           .Add(2, "Regular resending of all requests")
                                           .Add(3, kPingFailed)
                                           .Add(1, "nobody knows that text"));
    std::vector<Lane> lanes;
    std::vector<Weight> weights;
    for (const LifePage::Event& event : life.events) {
        lanes.push_back(event.lane);
        weights.push_back(event.weight);
    }
    EXPECT_THAT(lanes,
                ElementsAre(Lane::kWatch, Lane::kWatch, Lane::kWatch, Lane::kWatch, Lane::kTask));
    EXPECT_THAT(weights, ElementsAre(Weight::kOrdinary, Weight::kOrdinary, Weight::kOrdinary,
                                     Weight::kWarning, Weight::kDetail));
}

TEST(LogLifeTest, LineWithoutALevelWeighsByWhatItMeans) {
    const LifePage::Life life =
        LifeIn({"COvAgentConnectorModule: Connecting to product\n"
                "COvAgentConnectorModule: Policy is damaged: x\n"});
    EXPECT_EQ(life.events.at(0).weight, Weight::kOrdinary);
    EXPECT_EQ(life.events.at(1).weight, Weight::kWarning);
    EXPECT_EQ(life.events.at(1).level, 0);
}

TEST(LogLifeTest, EachStartIsAProcessAndSoIsWhatStandsBefore) {
    const LifePage::Life life = LifeIn(
        CLoggedLife().Add(2, "Received broadcast 3").Connected().Connected().Add(2, kInactive));
    ASSERT_THAT(life.processes, SizeIs(4));
    EXPECT_EQ(life.processes[1].name, "host 2");
    EXPECT_EQ(life.processes[1].from, 1s);
    EXPECT_EQ(life.processes[1].until, 2s);
    EXPECT_EQ(life.processes[1].end, "");
    EXPECT_EQ(life.events[0].process, 0U);
    EXPECT_EQ(life.events[2].process, 1U);
    EXPECT_EQ(life.events[5].process, 3U);
}

TEST(LogLifeTest, TaskHasItsIdentifiersAndItsRoadThroughTheLog) {
    const LifePage::Life life = LifeIn(CLoggedLife().Connected().Kill().Add(4, kRefused));
    ASSERT_THAT(life.tasks, SizeIs(1));
    const LifePage::Task& task = life.tasks[0];
    EXPECT_EQ(task.what, "kill a process");
    EXPECT_THAT(task.identifiers, ElementsAre(kFirst, kSecond, kThird));
    EXPECT_EQ(task.attempts, 1U);
    EXPECT_EQ(task.state, LifePage::Task::State::kFailed);
    EXPECT_EQ(task.why,
              "the product has refused with status 3: it does not know the request, as one that is "
              "older than the task, or does not take it -> look whether the product's version "
              "knows this task");
    EXPECT_EQ(task.from, 3s);
    EXPECT_EQ(task.until, 4s);
    ASSERT_THAT(task.road, SizeIs(2));
    EXPECT_EQ(task.road[0].event, 3U);
    EXPECT_EQ(task.road[0].text, "product asked");
    EXPECT_EQ(task.road[0].weight, Weight::kOrdinary);
    EXPECT_EQ(task.road[1].event, 4U);
    EXPECT_EQ(task.road[1].at, 4s);
    EXPECT_EQ(task.road[1].weight, Weight::kError);
    EXPECT_THAT(life.events[3].tasks, ElementsAre(0U));
    EXPECT_THAT(life.events[2].tasks, IsEmpty());
}

TEST(LogLifeTest, OutcomeThatTheLogDoesNotHaveIsNotTold) {
    EXPECT_EQ(
        LifeIn(CLoggedLife().Connected().Kill().Add(2, "Task status received")).tasks.at(0).state,
        LifePage::Task::State::kTold);
}

TEST(LogLifeTest, EventOfTheHostHasItsSymbolsInARow) {
    const LifePage::Life life =
        LifeIn(CLoggedLife().AddLine("symbols type=10368 2913-text=\"Task failed\" 2836-status=4"));
    ASSERT_THAT(life.events, SizeIs(1));
    EXPECT_EQ(life.events[0].lane, Lane::kBus);
    EXPECT_EQ(life.events[0].text, "event of a task: Task failed");
    ASSERT_THAT(life.events[0].rows, SizeIs(1));
    EXPECT_THAT(life.events[0].rows[0].symbols,
                ElementsAre(Pair("2836-status", "4"), Pair("2913-text", "Task failed")));
    EXPECT_THAT(life.events[0].fields,
                ElementsAre(Pair("place", "logs/0.log:1"), Pair("type", "10368")));
}

TEST(LogLifeTest, FirstConnectionAndOutageAreToldApart) {
    const LifePage::Life life = LifeIn(CLoggedLife()
                                           .Connected()
                                           .Add(3, kPingFailed)
                                           .Reconnecting()
                                           .Add(2, "Publishing ECS telemetry logs"));
    ASSERT_THAT(life.outages, SizeIs(2));
    EXPECT_TRUE(life.outages[0].first);
    EXPECT_TRUE(life.outages[0].over);
    EXPECT_EQ(life.outages[0].from, 0s);
    EXPECT_EQ(life.outages[0].until, 1s);
    EXPECT_EQ(life.outages[0].event, 0U);
    EXPECT_FALSE(life.outages[1].first);
    EXPECT_TRUE(life.outages[1].over);
    EXPECT_EQ(life.outages[1].from, 2s);
    EXPECT_EQ(life.outages[1].until, 4s);
    EXPECT_EQ(life.outages[1].attempts, 1U);
    EXPECT_EQ(life.outages[1].event, 2U);
}

TEST(LogLifeTest, FirstConnectionThatFailsIsToldOnceAndWithItsCause) {
    const LifePage::Life life = LifeIn(CLoggedLife()
                                           .Add(2, "Connecting to product")
                                           .Add(4, "Product is not available, canceling tasks"));
    ASSERT_THAT(life.outages, SizeIs(1));
    EXPECT_TRUE(life.outages[0].first);
    EXPECT_FALSE(life.outages[0].over);
    EXPECT_TRUE(life.outages[0].hostStopped);
    EXPECT_EQ(life.outages[0].cause,
              "the product could not be reached until the host stopped the connector -> start the "
              "product, or look why it has ended; `ovprobe doctor` tells more");
}

TEST(LogLifeTest, OutageThatGoesOnLastsAsLongAsTheLogAndSaysWhatIsToBeDone) {
    const LifePage::Life life =
        LifeIn(CLoggedLife().Connected().Add(4, kPortGone).Reconnecting().Wait(7).Reconnecting());
    ASSERT_THAT(life.outages, SizeIs(2));
    EXPECT_EQ(life.outages[1].until, 11s);
    EXPECT_FALSE(life.outages[1].over);
    EXPECT_FALSE(life.outages[1].hostStopped);
    EXPECT_EQ(life.outages[1].cause,
              "no exchange with the product, code 1: the port is gone, or the product has ended in "
              "the middle -> start the product, or look why it has ended; `ovprobe doctor` tells "
              "more");
}

TEST(LogLifeTest, OutageInWhichTheHostStopsEndsThere) {
    const LifePage::Life life = LifeIn(CLoggedLife()
                                           .Connected()
                                           .Add(3, kPingFailed)
                                           .Add(2, "Disconnecting from product")
                                           .Wait(9)
                                           .Add(2, "Received broadcast 3"));
    ASSERT_THAT(life.outages, SizeIs(2));
    EXPECT_EQ(life.outages[1].until, 3s);
    EXPECT_FALSE(life.outages[1].over);
    EXPECT_TRUE(life.outages[1].hostStopped);
}

TEST(LogLifeTest, OutageThatAnotherStartGoesOnWithIsNotEndedByTheStopBefore) {
    const LifePage::Life life = LifeIn(CLoggedLife()
                                           .Connected()
                                           .Add(3, kPingFailed)
                                           .Add(2, "Disconnecting from product")
                                           .Add(2, "Connecting to product")
                                           .Add(4, std::string(kConnectingFails) + kPortGone));
    ASSERT_THAT(life.outages, SizeIs(2));
    EXPECT_EQ(life.outages[1].until, 5s);
    EXPECT_FALSE(life.outages[1].over);
    EXPECT_FALSE(life.outages[1].hostStopped);
}

TEST(LogLifeTest, FirstConnectionThatSucceedsLaterIsTheOutageOfTheStory) {
    const LifePage::Life life = LifeIn(CLoggedLife()
                                           .Add(2, "Connecting to product")
                                           .Add(4, std::string(kConnectingFails) + kPortGone)
                                           .Add(2, "Connected to product, processing tasks"));
    ASSERT_THAT(life.outages, SizeIs(1));
    EXPECT_TRUE(life.outages[0].first);
    EXPECT_TRUE(life.outages[0].over);
    EXPECT_EQ(life.outages[0].from, 1s);
    EXPECT_EQ(life.outages[0].until, 2s);
    EXPECT_EQ(life.outages[0].attempts, 1U);
    EXPECT_THAT(life.outages[0].cause,
                StartsWith("the connection breaks off while it is made, code 1"));
}

TEST(LogLifeTest, FirstConnectionThatTheLogDoesNotSeeIsNotOver) {
    const LifePage::Life life = LifeIn(
        CLoggedLife().Add(2, "Connecting to product").Add(2, "Received broadcast 3").Connected());
    ASSERT_THAT(life.outages, SizeIs(2));
    EXPECT_FALSE(life.outages[0].over);
    EXPECT_EQ(life.outages[0].until, 1s);
    EXPECT_TRUE(life.outages[1].over);
}

TEST(LogLifeTest, StartInAnOutageIsPartOfIt) {
    const LifePage::Life life = LifeIn(CLoggedLife().Connected().Add(3, kPingFailed).Connected());
    ASSERT_THAT(life.outages, SizeIs(2));
    EXPECT_TRUE(life.outages[0].first);
    EXPECT_FALSE(life.outages[1].first);
    EXPECT_EQ(life.outages[1].until, 4s);
}

TEST(LogLifeTest, FilesAreOneLifeInTheOrderInWhichTheyAreGiven) {
    const LifePage::Life life = LifeIn(
        {CLoggedLife().Connected().Text(), CLoggedLife().Wait(5).Add(3, kPingFailed).Text()});
    ASSERT_THAT(life.events, SizeIs(3));
    EXPECT_EQ(life.events[2].at, 5s);
    EXPECT_THAT(life.events[2].fields, Contains(Pair("place", "logs/1.log:1")));
}

TEST(LogLifeTest, LineWithoutATimeSaysSo) {
    const LifePage::Life life = LifeIn(
        {CLoggedLife().Connected().Text(), "COvAgentConnectorModule: Received broadcast 3\n"});
    EXPECT_THAT(life.events.at(2).fields, Contains(Pair("no time", HasSubstr("one before"))));
    EXPECT_THAT(life.events.at(1).fields, Not(Contains(Pair("no time", _))));
}

TEST(LogLifeTest, MarkupInALineStaysText) {
    const std::string hostile = "</script><script>window.harmed=1</script>&\xff";
    const LifePage::Life life =
        LifeIn(CLoggedLife().Add(4, hostile).Add(4, "Policy is damaged: " + hostile));
    EXPECT_EQ(life.events.at(0).text, hostile);
    const std::string page = LifePage::Page({life});
    EXPECT_THAT(page, Not(HasSubstr("<script>window")));
    EXPECT_THAT(page, HasSubstr(R"("text":"\u003c/script\u003e\u003cscript\u003ewindow.harmed=1)"
                                R"(\u003c/script\u003e\u0026\ufffd")"));
}

}  // namespace
}  // namespace Kyr::Probe
