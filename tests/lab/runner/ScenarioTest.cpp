#include <gmock/gmock.h>

#include "lab/runner/Scenario.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;

/// The statement of one line, which is the second one.
Statement Read(const std::string& line) {
    const Scenario scenario = ParseScenario("title T\n" + line + "\nquit host\n");
    EXPECT_EQ(scenario.statements.size(), 2U);
    EXPECT_EQ(scenario.statements.at(0).line, 2U);
    return scenario.statements.at(0);
}

std::string ErrorOf(const std::string& text) {
    try {
        ParseScenario(text);
    } catch (const CScenarioError& e) {
        return e.what();
    }
    return "no error";
}

TEST(Scenario, EmptyLinesAndCommentsAreSkippedButCounted) {
    const Scenario scenario =
        ParseScenario("# a remark\n\ntitle  A kill task \n  # remark\nquit product\n");
    EXPECT_EQ(scenario.title, "A kill task");
    ASSERT_EQ(scenario.statements.size(), 1U);
    EXPECT_EQ(scenario.statements[0].line, 5U);
}

TEST(Scenario, EachStatementThatCanFailIsAnExpectation) {
    for (const char* const statement :
         {"expect host log", "never host log", "only host log", "gone host", "quit host"}) {
        EXPECT_EQ(ErrorOf("title T\n" + std::string(statement) + "\n"), "no error");
    }
}

TEST(Scenario, TextIsTheRestOfItsLineAsItStands) {
    EXPECT_EQ(Read("step The \"host\" starts ").text, "The \"host\" starts");
    EXPECT_EQ(Read("say  a  b").text, "a  b");
    const Statement command = Read("host  kill pid=$v.pid sha1=\"\"");
    EXPECT_EQ(command.verb, Verb::kCommand);
    EXPECT_EQ(command.actor, "host");
    EXPECT_EQ(command.text, "kill pid=$v.pid sha1=\"\"");
}

TEST(Scenario, StartTakesArguments) {
    const Statement start = Read("start product --misbehave=no-alpc \"a b\"");
    EXPECT_EQ(start.verb, Verb::kStart);
    EXPECT_EQ(start.actor, "product");
    EXPECT_THAT(start.arguments, ElementsAre("--misbehave=no-alpc", "a b"));
}

TEST(Scenario, ExpectTakesFieldsPatienceAndName) {
    const Statement expect = Read("expect host log text=\"a b\" level~4 within 200ms as x");
    EXPECT_EQ(expect.verb, Verb::kExpect);
    EXPECT_EQ(expect.actor, "host");
    ASSERT_EQ(expect.patterns.size(), 1U);
    EXPECT_EQ(expect.patterns[0].kind, "log");
    const auto field = [](const char* key, FieldMatch::Kind kind, const char* value) {
        return AllOf(Field(&FieldMatch::key, key), Field(&FieldMatch::kind, kind),
                     Field(&FieldMatch::value, value));
    };
    EXPECT_THAT(expect.patterns[0].fields,
                ElementsAre(field("text", FieldMatch::Kind::kEquals, "a b"),
                            field("level", FieldMatch::Kind::kContains, "4")));
    EXPECT_EQ(expect.duration, std::chrono::milliseconds(200));
    EXPECT_EQ(expect.name, "x");
}

TEST(Scenario, WaitsHaveTheirDurations) {
    EXPECT_EQ(Read("expect product ready").duration, std::chrono::seconds(15));
    EXPECT_EQ(Read("gone product").duration, std::chrono::seconds(15));
    EXPECT_EQ(Read("gone product within 3s").duration, std::chrono::seconds(3));
    const Statement wait = Read("wait 3s in which nothing happens");
    EXPECT_EQ(wait.duration, std::chrono::seconds(3));
    EXPECT_EQ(wait.text, "in which nothing happens");
    const Statement countdown = Read("countdown 10s until it reconnects");
    EXPECT_EQ(countdown.duration, std::chrono::seconds(10));
    EXPECT_EQ(countdown.text, "until it reconnects");
}

TEST(Scenario, ThenTakesItsWaitAndGivesItTime) {
    const Scenario scenario = ParseScenario(
        "title T\nexpect host log\nthen product did after 10s\n"
        "then product did after 10s within 11s\nthen host log\n");
    const std::vector<Statement>& then = scenario.statements;
    ASSERT_EQ(then.size(), 4U);
    EXPECT_EQ(then[1].verb, Verb::kThen);
    EXPECT_EQ(then[1].after, std::chrono::seconds(10));
    EXPECT_EQ(then[1].duration, std::chrono::seconds(25));
    EXPECT_EQ(then[2].duration, std::chrono::seconds(11));
    EXPECT_EQ(then[3].after, std::nullopt);
}

TEST(Scenario, OnlyTakesSeveralKindsEachWithItsFields) {
    const Statement only = Read("only product did action=kill ended");
    EXPECT_EQ(only.verb, Verb::kOnly);
    ASSERT_EQ(only.patterns.size(), 2U);
    EXPECT_EQ(only.patterns[0].fields.size(), 1U);
    EXPECT_EQ(only.patterns[1].kind, "ended");
    EXPECT_THAT(only.patterns[1].fields, IsEmpty());
}

TEST(Scenario, SymbolsHaveANumberWithOrWithoutTheirName) {
    EXPECT_EQ(ErrorOf("title T\nexpect host symbols 2146=8 2848-outcome=1\n"), "no error");
}

TEST(Scenario, WhatIsNoneIsRefusedWithItsLine) {
    const std::pair<const char*, const char*> rows[] = {
        {"start host\n", "line 1: a scenario begins with its title"},
        {"", "line 1: a scenario begins with its title"},
        {"# only this\n", "line 2: a scenario begins with its title"},
        {"title T\n", "line 2: a scenario must expect something: nothing can fail here"},
        {"title T\nstep one\nstart host\nkill host\n",
         "line 5: a scenario must expect something: nothing can fail here"},
        {"title T\nexpect host log\nstep one\nthen host log\n",
         "line 4: nothing is expected before it in its step"},
    };
    for (const auto& [text, error] : rows) {
        EXPECT_EQ(ErrorOf(text), error);
    }
}

TEST(Scenario, StatementThatIsNotUnderstoodIsRefused) {
    const std::pair<const char*, const char*> rows[] = {
        {"dance", "\"dance\" is no statement"},
        {"kill server", "\"server\" is neither \"product\" nor \"host\""},
        {"kill product now", "\"now\" is left over"},
        {"expect host log within 5", "\"5\" is no duration such as 5s or 200ms"},
        {"expect host log text", "\"text\" is no field such as pid=7 or text~Ping"},
        {"expect host log after 10s", "\"after\" is no field such as pid=7 or text~Ping"},
        {"start host \"a", "closing quote missing"},
        {"never host text=\"it failed\"", "the host tells of no \"text=it failed\""},
        {"expect host Log level=4", "the host tells of no \"Log\""},
        {"expect host did", "the host tells of no \"did\""},
        {"only host log lgo", "the host tells of no \"lgo\""},
        {"never host log Level=4", "\"Level\" is no key of the host's log"},
        {"expect product did lenght~4", "\"lenght\" is no key of the product's did"},
        {"never host log =4", "\"\" is no key of the host's log"},
        {"expect host symbols outcome=1", "\"outcome\" is no key of the host's symbols"},
        {"expect host log 2146=8", "\"2146\" is no key of the host's log"},
    };
    for (const auto& [statement, error] : rows) {
        EXPECT_EQ(ErrorOf("title T\n" + std::string(statement) + "\nquit host\n"),
                  "line 2: " + std::string(error));
    }
}

TEST(Substitute, NamesBecomeTheirValues) {
    EXPECT_EQ(Substitute("pid=$v.pid, $a; $v.pid!", {{"v.pid", "2"}, {"a", "x"}}), "pid=2, x; 2!");
}

TEST(Substitute, UnknownNameIsRefused) {
    EXPECT_THROW(Substitute("$nobody", {}), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Lab::Runner
