#include <gtest/gtest.h>

#include "lab/runner/Scenario.h"

namespace Kyr::Lab::Runner {
namespace {

template <typename Expected>
Expected OnlyStatement(const std::string& line) {
    const Scenario scenario = ParseScenario("title T\n" + line + "\nquit host\n");
    EXPECT_EQ(scenario.statements.size(), 2U);
    EXPECT_EQ(scenario.statements.at(0).line, 2U);
    return std::get<Expected>(scenario.statements.at(0).statement);
}

std::string ErrorOf(const std::string& text) {
    try {
        ParseScenario(text);
    } catch (const CScenarioError& e) {
        return e.what();
    }
    return "no error";
}

TEST(Scenario, TitleIsTheRestOfItsLine) {
    EXPECT_EQ(ParseScenario("# a remark\n\ntitle  A kill task \nquit host\n").title, "A kill task");
}

TEST(Scenario, WithoutTitleIsRefused) {
    EXPECT_EQ(ErrorOf("start host\n"), "line 1: a scenario begins with its title");
    EXPECT_EQ(ErrorOf(""), "line 1: a scenario begins with its title");
    EXPECT_EQ(ErrorOf("# only this\n"), "line 2: a scenario begins with its title");
}

TEST(Scenario, WithoutAnExpectationIsRefused) {
    EXPECT_EQ(ErrorOf("title T\n"),
              "line 2: a scenario must expect something: nothing can fail here");
    EXPECT_EQ(ErrorOf("title T\nstep one\nstart host\nkill host\n"),
              "line 5: a scenario must expect something: nothing can fail here");
}

TEST(Scenario, EachStatementThatCanFailIsAnExpectation) {
    for (const char* const statement :
         {"expect host log", "never host log", "only host log", "gone host", "quit host"}) {
        EXPECT_EQ(ErrorOf("title T\n" + std::string(statement) + "\n"), "no error");
    }
}

TEST(Scenario, EmptyLinesAndCommentsAreSkippedButCounted) {
    const Scenario scenario = ParseScenario("title T\n\n  # remark\nquit product\n");
    ASSERT_EQ(scenario.statements.size(), 1U);
    EXPECT_EQ(scenario.statements[0].line, 4U);
}

TEST(Scenario, StepAndSayTakeTheRestAsItStands) {
    EXPECT_EQ(OnlyStatement<StepStatement>("step The \"host\" starts ").text,
              "The \"host\" starts");
    EXPECT_EQ(OnlyStatement<SayStatement>("say  a  b").text, "a  b");
}

TEST(Scenario, StartTakesArguments) {
    const auto start = OnlyStatement<StartStatement>("start product --misbehave=no-alpc \"a b\"");
    EXPECT_EQ(start.actor, "product");
    EXPECT_EQ(start.arguments, (std::vector<std::string>{"--misbehave=no-alpc", "a b"}));
}

TEST(Scenario, CommandIsSentAsItStands) {
    const auto command = OnlyStatement<CommandStatement>("host  kill pid=$v.pid sha1=\"\"");
    EXPECT_EQ(command.actor, "host");
    EXPECT_EQ(command.line, "kill pid=$v.pid sha1=\"\"");
}

TEST(Scenario, ExpectTakesFieldsPatienceAndName) {
    const auto expect =
        OnlyStatement<ExpectStatement>("expect host log text=\"a b\" level~4 within 200ms as x");
    EXPECT_EQ(expect.actor, "host");
    EXPECT_EQ(expect.pattern.kind, "log");
    ASSERT_EQ(expect.pattern.fields.size(), 2U);
    EXPECT_EQ(expect.pattern.fields[0].key, "text");
    EXPECT_EQ(expect.pattern.fields[0].kind, FieldMatch::Kind::kEquals);
    EXPECT_EQ(expect.pattern.fields[0].value, "a b");
    EXPECT_EQ(expect.pattern.fields[1].kind, FieldMatch::Kind::kContains);
    EXPECT_EQ(expect.within, std::chrono::milliseconds(200));
    EXPECT_EQ(expect.name, "x");
}

TEST(Scenario, ExpectWaitsFifteenSecondsUnlessTold) {
    EXPECT_EQ(OnlyStatement<ExpectStatement>("expect product ready").within,
              std::chrono::seconds(15));
}

TEST(Scenario, GoneTakesPatience) {
    EXPECT_EQ(OnlyStatement<GoneStatement>("gone product within 3s").within,
              std::chrono::seconds(3));
}

TEST(Scenario, WaitTakesDurationAndText) {
    const auto wait = OnlyStatement<WaitStatement>("wait 3s in which nothing happens");
    EXPECT_EQ(wait.duration, std::chrono::seconds(3));
    EXPECT_EQ(wait.text, "in which nothing happens");
}

TEST(Scenario, CountdownTakesDurationAndText) {
    const auto countdown = OnlyStatement<CountdownStatement>("countdown 10s until it reconnects");
    EXPECT_EQ(countdown.duration, std::chrono::seconds(10));
    EXPECT_EQ(countdown.text, "until it reconnects");
}

TEST(Scenario, UnknownStatementIsRefusedWithItsLine) {
    EXPECT_EQ(ErrorOf("title T\ndance\n"), "line 2: \"dance\" is no statement");
}

TEST(Scenario, UnknownActorIsRefused) {
    EXPECT_EQ(ErrorOf("title T\nkill server\n"),
              "line 2: \"server\" is neither \"product\" nor \"host\"");
}

TEST(Scenario, BadDurationIsRefused) {
    EXPECT_EQ(ErrorOf("title T\nexpect host log within 5\n"),
              "line 2: \"5\" is no duration such as 5s or 200ms");
}

TEST(Scenario, FieldWithoutSignIsRefused) {
    EXPECT_EQ(ErrorOf("title T\nexpect host log text\n"),
              "line 2: \"text\" is no field such as pid=7 or text~Ping");
}

TEST(Scenario, WhatNoProgramCanTellIsRefused) {
    EXPECT_EQ(ErrorOf("title T\nnever host text=\"it failed\"\n"),
              "line 2: the host tells of no \"text=it failed\"");
    EXPECT_EQ(ErrorOf("title T\nexpect host Log level=4\n"),
              "line 2: the host tells of no \"Log\"");
    EXPECT_EQ(ErrorOf("title T\nexpect host did\n"), "line 2: the host tells of no \"did\"");
    EXPECT_EQ(ErrorOf("title T\nonly host log lgo\n"), "line 2: the host tells of no \"lgo\"");
    EXPECT_EQ(ErrorOf("title T\nnever host log Level=4\n"),
              "line 2: \"Level\" is no key of the host's log");
    EXPECT_EQ(ErrorOf("title T\nthen product did lenght~4\n"),
              "line 2: \"lenght\" is no key of the product's did");
    EXPECT_EQ(ErrorOf("title T\nnever host log =4\n"), "line 2: \"\" is no key of the host's log");
}

TEST(Scenario, SymbolsHaveANumberWithOrWithoutTheirName) {
    EXPECT_EQ(ErrorOf("title T\nexpect host symbols 2146=8 2848-outcome=1\n"), "no error");
    EXPECT_EQ(ErrorOf("title T\nexpect host symbols outcome=1\n"),
              "line 2: \"outcome\" is no key of the host's symbols");
    EXPECT_EQ(ErrorOf("title T\nexpect host log 2146=8\n"),
              "line 2: \"2146\" is no key of the host's log");
}

TEST(Scenario, ThenTakesItsWaitAndGivesItTime) {
    const Scenario scenario = ParseScenario(
        "title T\nexpect host log\nthen product did after 10s\n"
        "then product did after 10s within 11s\nthen host log\n");
    const auto then = [&](std::size_t at) {
        return std::get<ExpectStatement>(scenario.statements.at(at).statement);
    };
    EXPECT_FALSE(then(0).then);
    EXPECT_TRUE(then(1).then);
    EXPECT_EQ(then(1).after, std::chrono::seconds(10));
    EXPECT_EQ(then(1).within, std::chrono::seconds(25));
    EXPECT_EQ(then(2).within, std::chrono::seconds(11));
    EXPECT_EQ(then(3).after, std::nullopt);
}

TEST(Scenario, ThenWithNothingBeforeItInItsStepIsRefused) {
    EXPECT_EQ(ErrorOf("title T\nexpect host log\nstep one\nthen host log\n"),
              "line 4: nothing is expected before it in its step");
}

TEST(Scenario, AfterWithoutAnOrderIsRefused) {
    EXPECT_EQ(ErrorOf("title T\nexpect host log after 10s\n"),
              "line 2: \"after\" is no field such as pid=7 or text~Ping");
}

TEST(Scenario, OnlyTakesSeveralKindsEachWithItsFields) {
    const auto only = OnlyStatement<NeverStatement>("only product did action=kill ended");
    EXPECT_TRUE(only.wholeStep);
    ASSERT_EQ(only.patterns.size(), 2U);
    EXPECT_EQ(only.patterns[0].fields.size(), 1U);
    EXPECT_EQ(only.patterns[1].kind, "ended");
    EXPECT_TRUE(only.patterns[1].fields.empty());
}

TEST(Scenario, WordsLeftOverAreRefused) {
    EXPECT_EQ(ErrorOf("title T\nkill product now\n"), "line 2: \"now\" is left over");
}

TEST(Substitute, LatestValueOfANameCounts) {
    EXPECT_EQ(Substitute("pid=$v.pid, $a", {{"v.pid", "1"}, {"a", "x"}, {"v.pid", "2"}}),
              "pid=2, x");
}

TEST(Substitute, UnknownNameIsRefused) {
    EXPECT_THROW(Substitute("$nobody", {}), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Lab::Runner
