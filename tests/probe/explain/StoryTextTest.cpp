#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

#include "tests/probe/explain/LoggedLife.h"

namespace Kyr::Probe {
namespace {

using namespace Kyr::Probe::Test;
using namespace testing;

TEST(StoryTextTest, ProductThatIsNotInstalledIsWhyThereIsNoTask) {
    const Story story = CLoggedLife().Add(2, kInactive).Told();
    EXPECT_THAT(Why(story, kFirst),
                HasSubstr("the product was not installed when the host started"));
}

TEST(StoryTextTest, ProblemOfBeforeIsNotWhyAnInactiveConnectorHasNoTask) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Add(4, "Policy is damaged: unexpected end")
                            .Add(2, kInactive)
                            .Told();
    EXPECT_THAT(Why(story, kFirst),
                HasSubstr("the product was not installed when the host started"));
}

TEST(StoryTextTest, ConnectorThatWasInactiveAndIsStartedAnewIsActive) {
    const Story story = CLoggedLife().Add(2, kInactive).Connected().Told();
    EXPECT_THAT(Why(story, kFirst), HasSubstr("the host has not given it to the connector"));
}

TEST(StoryTextTest, NothingOfAHostileLogIsShown) {
    const std::string canary = "CANARY";
    const std::string hostile = "\x1b[31m" + canary + "%s%n\x9b\xff\xfe\r";
    HostLog log;
    CLoggedLife lines;
    lines.Connected()
        .Kill(hostile + ";" + hostile + ";" + hostile)
        .Add(4, "CKelcommChannel: Send request failed with " + hostile)
        .Add(2, "Reconnecting to product")
        .Add(4, hostile)
        .Add(4, "Policy is damaged: " + hostile)
        .Add(1, "Protection status log raw content: " + hostile)
        .Add(4, "Message task was canceled because maximum retry count was reached, message was: " +
                    hostile)
        .AddLine("symbols type=10368 2842-task-first=" + canary + " 2848-outcome=" + canary);
    const Story story = lines.Told();
    for (const std::string& shown : {InText(story), ToJson(story)}) {
        EXPECT_THAT(shown, Not(HasSubstr(canary)));
        for (const char sign : shown) {
            EXPECT_TRUE(sign == '\n' || (sign >= ' ' && sign <= '~'))
                << static_cast<int>(static_cast<unsigned char>(sign));
        }
    }
    EXPECT_THAT(story.tasks.at(0).identifiers, ElementsAre("(no UUID)", "(no UUID)", "(no UUID)"));
}

TEST(StoryTextTest, NameOfAFileIsShownSafely) {
    HostLog log;
    std::istringstream input("COvAgentConnectorModule: Policy is damaged: x\n");
    ReadHostLog(input, "a\x1b]0;b\nc", log);
    EXPECT_EQ(Tell(log).problems.at(0).first.where, "a?]0;b?c:1");
}

TEST(StoryTextTest, JsonTellsWhatTheTextTells) {
    const auto story = CLoggedLife()
                           .Connected()
                           .Kill()
                           .Add(4, "CKelcommChannel: Reply header has wrong size")
                           .Told();
    const auto json = nlohmann::json::parse(ToJson(story));
    EXPECT_EQ(json["fine"], false);
    EXPECT_EQ(json["tasks"][0]["state"], "failed, and is not tried again");
    EXPECT_EQ(json["tasks"][0]["cause"], "a reply of the product is of another protocol");
    EXPECT_EQ(json["tasks"][0]["identifiers"][2], kThird);
    EXPECT_EQ(json["connected"][0]["where"], "host.log:2");
}

TEST(StoryTextTest, EmptyLogIsCalledSo) {
    const Story story = CLoggedLife().Told();
    const std::string nothing =
        "the log is empty\n"
        "      why:  the connector was not loaded, could not start, or writes into another log\n"
        "      next: `ovprobe doctor --log host.log --database host.db` looks at the endpoint "
        "itself\n";
    EXPECT_EQ(Why(story, kFirst), nothing);
    EXPECT_EQ(InText(story), nothing);
}

TEST(StoryTextTest, LogOfOthersHasNoLineOfTheConnector) {
    EXPECT_THAT(InText(CLoggedLife().AddLine("nobody's").Told()),
                testing::StartsWith("the log has no line of the connector\n"));
}

TEST(StoryTextTest, BeginningOfAnIdentifierIsEnough) {
    const Story story = CLoggedLife().Connected().Kill().Told();
    EXPECT_EQ(OnlyTask(story, "2222").tasks.size(), 1u);
    EXPECT_EQ(OnlyTask(story, "2223").tasks.size(), 0u);
    EXPECT_EQ(OnlyTask(story, std::string(kThird) + "3").tasks.size(), 0u);
}

TEST(StoryTextTest, UnknownIdentifierIsToldWithThoseThatThereAre) {
    EXPECT_EQ(Why(CLoggedLife().Connected().Kill().Told(), "99999999-9999-9999-9999-999999999999"),
              "no request to the product in this log has that identifier\n"
              "      why:  the host has not given it to the connector, or in another log\n"
              "      next: look into older logs, and whether the server has sent it\n"
              "the log has\n"
              "  11111111-1111-1111-1111-111111111111;22222222-2222-2222-2222-222222222222;"
              "33333333-3333-3333-3333-333333333333\n");
}

TEST(StoryTextTest, OneAttemptIsNotSeveral) {
    const Story story = CLoggedLife()
                            .Connected()
                            .Add(4, kPingFailed)
                            .Reconnecting()
                            .Add(2, "Connected to product, processing tasks")
                            .Told();
    EXPECT_THAT(InText(story), HasSubstr(", 1 attempt, "));
}

TEST(StoryTextTest, TaskThatIsNotNamedIsSaidToBePerhapsTheOneThatWasAskedFor) {
    const Story story = CLoggedLife()
                            .Add(2, "Connecting to product")
                            .Add(4, "Product is not available, canceling tasks")
                            .Add(4,
                                 "Message task was canceled because product is not available, "
                                 "message was: KillProcessByPid")
                            .Told();
    EXPECT_EQ(Why(story, kFirst),
              "no request to the product in this log has that identifier\n"
              "tasks wait until the connector is connected:\n"
              "  12:00:00.000 (host.log:1), 0 attempts, not over at the end of the log\n"
              "      why:  the product could not be reached until the host stopped the connector\n"
              "      next: start the product, or look why it has ended; `ovprobe doctor` tells "
              "more\n"
              "it may be one of those that the log does not name:\n"
              "  kill a process: given up\n"
              "      identifiers not in the log\n"
              "      at 12:00:02.000 (host.log:3), asked 0 times\n"
              "      why:  the product could not be reached before the host stopped the connector\n"
              "      next: start the product, or look why it has ended; `ovprobe doctor` tells "
              "more\n");
}

TEST(StoryTextTest, TaskOfAConnectorThatDoesNothingIsNotDone) {
    EXPECT_THAT(Why(CLoggedLife().Add(2, kInactive).Told(), kFirst),
                testing::StartsWith("no request to the product in this log has that identifier\n"
                                    "the connector does no task:\n"
                                    "  12:00:00.000 (host.log:1)\n"));
}

TEST(StoryTextTest, JsonOfATaskThatIsNotThereTellsWhyAndIsNotFine) {
    const Story story = CLoggedLife().Connected().Kill().Told();
    const auto none = nlohmann::json::parse(ToJson(story, "9999"));
    EXPECT_EQ(none.at("fine"), false);
    EXPECT_EQ(none.at("notAsked").at("cause"),
              "the host has not given it to the connector, or in another log");
    EXPECT_EQ(none.at("notAsked").at("next"),
              "look into older logs, and whether the server has sent it");
    const auto there = nlohmann::json::parse(ToJson(story, "1111"));
    EXPECT_EQ(there.at("tasks").size(), 1u);
    EXPECT_FALSE(there.contains("notAsked"));
}

TEST(StoryTextTest, LogThatEndsBeforeTheConnectionSaysThatTasksWait) {
    const auto none =
        nlohmann::json::parse(ToJson(CLoggedLife().Add(2, "Connecting to product").Told(), "9999"));
    EXPECT_EQ(none.at("notAsked").at("cause"),
              "not connected: the log ends before the product has answered");
}

}  // namespace
}  // namespace Kyr::Probe
