#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>

#include "lab/runner/Member.h"
#include "lab/runner/Scenario.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Lab::Runner {
namespace {

const std::map<Verb, std::string> kVerbs{
    {Verb::kStep, "step"},       {Verb::kSay, "say"},       {Verb::kStart, "start"},
    {Verb::kCommand, "command"}, {Verb::kKill, "kill"},     {Verb::kQuit, "quit"},
    {Verb::kGone, "gone"},       {Verb::kExpect, "expect"}, {Verb::kThen, "then"},
    {Verb::kNever, "never"},     {Verb::kOnly, "only"},     {Verb::kCountdown, "countdown"},
    {Verb::kWait, "wait"}};

/// A statement by its parts, as far as it has them.
std::string TextOf(const Statement& statement) {
    const auto inMilliseconds = [](std::chrono::milliseconds duration) {
        return std::to_string(duration.count()) + "ms";
    };
    std::string text = kVerbs.at(statement.verb);
    text += statement.actor.empty() ? "" : " " + statement.actor;
    text += statement.text.empty() ? "" : " <" + statement.text + ">";
    for (const std::string& argument : statement.arguments) {
        text += " [" + argument + "]";
    }
    for (const EventPattern& pattern : statement.patterns) {
        text += " {" + Text(pattern) + "}";
    }
    text += statement.duration.count() == 0 ? "" : " " + inMilliseconds(statement.duration);
    text += statement.after ? " after " + inMilliseconds(*statement.after) : "";
    return text + (statement.name ? " as " + *statement.name : "");
}

std::string ErrorOf(const std::string& text) {
    return Test::ThrownText([&] { ParseScenario(text); });
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
        EXPECT_EQ(ErrorOf("title T\n" + std::string(statement) + "\n"), "nothing was thrown");
    }
}

TEST(Scenario, StatementHasThePartsOfItsLine) {
    const std::pair<const char*, const char*> rows[] = {
        {"step The \"host\" starts ", "step <The \"host\" starts>"},
        {"say  a  b", "say <a  b>"},
        {"host  kill pid=$v.pid sha1=\"\"", "command host <kill pid=$v.pid sha1=\"\">"},
        {"start product --misbehave=no-alpc \"a b\"", "start product [--misbehave=no-alpc] [a b]"},
        {"kill host", "kill host"},
        {"quit product", "quit product"},
        {"gone product", "gone product 15000ms"},
        {"gone product within 3s", "gone product 3000ms"},
        {"expect product ready", "expect product {ready} 15000ms"},
        {"expect host log text=\"a b\" level~4 within 200ms as x",
         "expect host {log text=\"a b\" level~4} 200ms as x"},
        {"then host log", "then host {log} 15000ms"},
        {"then product did after 10s", "then product {did} 25000ms after 10000ms"},
        {"then product did after 10s within 11s", "then product {did} 11000ms after 10000ms"},
        {"never host log level=4", "never host {log level=4}"},
        {"only product did action=kill ended", "only product {did action=kill} {ended}"},
        {"countdown 10s until it reconnects", "countdown <until it reconnects> 10000ms"},
        {"wait 3s in which nothing happens", "wait <in which nothing happens> 3000ms"},
    };
    for (const auto& [line, parts] : rows) {
        const Scenario scenario =
            ParseScenario("title T\nexpect host log\n" + std::string(line) + "\n");
        ASSERT_EQ(scenario.statements.size(), 2U) << line;
        EXPECT_EQ(scenario.statements[1].line, 3U) << line;
        EXPECT_EQ(TextOf(scenario.statements[1]), parts);
    }
}

TEST(Scenario, SymbolsHaveANumberWithOrWithoutTheirName) {
    EXPECT_EQ(ErrorOf("title T\nexpect host symbols 2146=8 2848-outcome=1\n"),
              "nothing was thrown");
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
