#include <gmock/gmock.h>

#include "lab/runner/NeutralTranscript.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::ElementsAre;

std::vector<LifePage::Process> Processes(const std::vector<std::string>& names) {
    std::vector<LifePage::Process> processes;
    processes.reserve(names.size());
    for (const std::string& name : names) {
        processes.push_back({name, {}, {}, ""});
    }
    return processes;
}

/// Of a run with one process of each actor, whose lines are "host log text=a".
std::vector<std::string> Neutral(const std::vector<std::string>& lines,
                                 const GivenTexts& given = {}) {
    std::vector<std::string> texts;
    for (const ToldLine& line :
         NeutralLines(Told(lines), Processes({"host 1", "product 1"}), given)) {
        texts.push_back(line.text);
    }
    return texts;
}

struct Row {
    const char* situation;
    std::vector<std::string> told;
    std::vector<std::string> neutral;
};

void ExpectNeutral(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.situation);
        EXPECT_EQ(Neutral(row.told), row.neutral);
    }
}

const std::string kCollects = "0 host publish name=OvAgentRequest by=module request=5";

TEST(NeutralTranscript, EventsOfOneStreamStandTogetherInTheirOrder) {
    ExpectNeutral({
        {"two kinds",
         {"1 host log text=one", "2 host life call=Start", "3 host log text=two"},
         {"host 1: life call=Start", "host 1: log text=one", "host 1: log text=two"}},
        {"what the lab tells of itself is left out",
         {"1 host ready module=M", "2 product connect client=1", "3 product answer command=quit"},
         {}},
        {"threads that tell beside each other",
         {"1 host publish name=OvAgentRequest by=module request=0",
          "2 host log text=\"Ping failed -> again\"", "3 host log text=one",
          "4 host publish name=EventLog_TASK by=module",
          "5 host publish name=KillProcessByPid by=host",
          "6 host log text=\"Received broadcast 2\"", "7 host log text=two"},
         {"host 1: publish name=KillProcessByPid by=host", "host 1: log text=one",
          "host 1: log text=two", "host 1: publish name=EventLog_TASK by=module",
          "host 1: publish name=OvAgentRequest by=module request=0",
          "host 1: log text=\"Ping failed -> again\"",
          "host 1: log text=\"Received broadcast 2\""}},
        {"errors of either side are told",
         {"1 product error text=blocked", "2 host error text=\"no descriptor\""},
         {"host 1: error text=\"no descriptor\"", "product 1: error text=blocked"}},
        {"a stop that found the module busy is not",
         {"1 host life call=Stop(false) result=false", "2 host life call=Stop(false) result=true"},
         {"host 1: life call=Stop(false) result=true"}},
    });
}

TEST(NeutralTranscript, ProcessesOfOneActorStandOneAfterTheOther) {
    std::vector<ToldEvent> told =
        Told({"1 host log text=after", "2 product error text=x", "3 host log text=before"});
    told[0].process = 2;
    const auto lines = NeutralLines(told, Processes({"host 1", "product 1", "host 2"}), {});
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].text, "host 1: log text=before");
    EXPECT_EQ(lines[0].told, 2U);
    EXPECT_EQ(lines[1].text, "host 2: log text=after");
    EXPECT_EQ(lines[1].told, 0U);
}

TEST(NeutralTranscript, WhatIsOfThisRunHasNoValue) {
    std::string zeros(130, '0');
    std::string written;
    for (int i = 0; i < 64; ++i) {
        written += "%00";
    }
    ExpectNeutral({
        {"counters and processes without a name",
         {"1 product did id=7 action=kill pid=4711"},
         {"product 1: did action=kill pid=*"}},
        {"dates",
         {"1 host log text=\"2026-11-21T13:05:59Z 2026-11-21T13:05:59.123Z\""},
         {"host 1: log text=\"<time> <time>\""}},
        {"what is almost a date or an identifier stays",
         {"1 host log text=\"2026-11-21T13:05:59 0a0b0c0d-2222-3333-4444-55555555555g\""},
         {"host 1: log text=\"2026-11-21T13:05:59 0a0b0c0d-2222-3333-4444-55555555555g\""}},
        {"bytes 12 0 255 % < 7",
         {"1 product request command=3 length=9 bytes=0c00ff253c37"},
         {"product 1: request command=3 bytes=%0c%00%ff%25<7"}},
        {"a long row of equal bytes is counted",
         {"1 product reply code=0 bytes=07" + zeros + "41"},
         {"product 1: reply code=0 bytes=%07%00{65}A"}},
        {"a short one is written out",
         {"1 product reply code=0 bytes=" + zeros.substr(2)},
         {"product 1: reply code=0 bytes=" + written}},
        {"what a record, here {\"@timestamp\":1,\"process\":{}}, tells of processes",
         {"1 product reply bytes=0c00000000000000ff0000000a1d"
          "7b224074696d657374616d70223a312c2270726f63657373223a7b7d7d"},
         {"product 1: reply bytes=\"%0c%00%00%00%00%00%00%00<length>%0a<length>"
          "{\\\"@timestamp\\\":1,\\\"process\\\":\\\"*\\\"}\""}},
        {"a line cut off within a byte tells those before it",
         {"1 product reply code=0 bytes=41424"},
         {"product 1: reply code=0 bytes=AB"}},
        {"a length stays where no bytes tell it",
         {"1 product reply code=0 length=12"},
         {"product 1: reply code=0 length=12"}},
    });
}

TEST(NeutralTranscript, WhatComesWithEveryLookIsToldOnceEach) {
    const std::string ping = "0 product request transport=alpc command=0";
    const std::string answered = "0 product reply transport=alpc length=0";
    const std::string delivered = "0 host deliver name=OvAgentRequest";
    const std::string empty = "0 host log text=\"Empty response received from OV Connector\"";
    ExpectNeutral({
        {"pings",
         {ping, answered, ping, answered, "0 product request transport=lpc command=0"},
         {"product 1: reply transport=alpc length=0", "product 1: request transport=alpc command=0",
          "product 1: request transport=lpc command=0"}},
        {"looks for records that find none",
         {kCollects, delivered, "0 product request name=get-actions id=1",
          "0 product reply status=0 length=12 id=1", empty, kCollects, delivered,
          "0 product request name=get-actions id=2", "0 product reply status=0 length=12 id=2",
          empty},
         {"host 1: deliver name=OvAgentRequest",
          "host 1: log text=\"Empty response received from OV Connector\"",
          "host 1: publish name=OvAgentRequest by=module request=5",
          "product 1: reply status=0 length=12", "product 1: request name=get-actions"}},
        {"but requests for records that somebody gave are told each",
         {"0 product request name=get-actions id=1", "0 product reply status=0 length=12 id=1",
          delivered, "0 product request name=get-actions id=2",
          "0 product reply status=0 length=12 id=2", delivered},
         {"host 1: deliver name=OvAgentRequest", "host 1: deliver name=OvAgentRequest",
          "product 1: request name=get-actions", "product 1: request name=get-actions",
          "product 1: reply status=0 length=12", "product 1: reply status=0 length=12"}},
        {"and so is each reply that is no empty list of records",
         {kCollects, "0 product request id=1 name=import",
          "0 product reply status=0 length=12 id=1", "0 product request id=2 name=import",
          "0 product reply status=0 length=12 id=2", "0 product request name=get-actions id=3",
          "0 product reply status=0 length=40 id=3", "0 product request name=get-actions id=4",
          "0 product reply status=0 length=40 id=4"},
         {"host 1: publish name=OvAgentRequest by=module request=5",
          "product 1: request name=import", "product 1: request name=import",
          "product 1: reply status=0 length=12", "product 1: reply status=0 length=12",
          "product 1: reply status=0 length=40", "product 1: reply status=0 length=40",
          "product 1: request name=get-actions"}},
    });
}

TEST(NeutralTranscript, OfWhatComesWithEveryLookTheFirstEventIsNamed) {
    const auto lines = NeutralLines(
        Told({"1 host ready", "2 product request command=0", "3 product request command=0"}),
        Processes({"host 1", "product 1"}), {});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].told, 1U);
}

TEST(NeutralTranscript, NamedValueIsWrittenByItsNameWhereItIsAWholeWord) {
    GivenTexts given;
    given.Name("pid", "256", "v.pid", 0);
    given.Name("command", "start", "v.command", 0);  // the same in every run
    EXPECT_THAT(Neutral({"1 host log text=\"PID=\\\"256\\\" 2560 1256 256 start\"",
                         "2 host log text=\"HASH_SHA2_256 256_a\"", "3 product did pid=256",
                         "4 host publish type=256", "5 product request bytes=3c323536"},
                        given),
                ElementsAre("host 1: log text=\"PID=\\\"$v.pid\\\" 2560 1256 $v.pid start\"",
                            "host 1: log text=\"HASH_SHA2_256 256_a\"", "host 1: publish type=256",
                            "product 1: request bytes=<$v.pid", "product 1: did pid=$v.pid"));
}

TEST(NeutralTranscript, NumberOfARecordIsNoProcess) {
    GivenTexts given;
    given.Name("pid", "132", "victim.pid", 0);
    EXPECT_THAT(Neutral({R"(1 host log text="{\"sequence\":132,\"pid\":\"132\"}")"}, given),
                ElementsAre(R"(host 1: log text="{\"sequence\":132,\"pid\":\"$victim.pid\"}")"));
}

TEST(NeutralTranscript, NumberThatAnotherProcessGetsIsWrittenByItsNewName) {
    GivenTexts given;
    given.Name("pid", "36", "first.pid", 1);
    given.Name("pid", "36", "second.pid", 2);
    EXPECT_THAT(
        Neutral({"1 host log text=\"start 36\"", "2 host log text=\"end 36\"",
                 "3 host log text=\"end 36\""},
                given),
        ElementsAre("host 1: log text=\"start $first.pid\"", "host 1: log text=\"end $first.pid\"",
                    "host 1: log text=\"end $second.pid\""));
}

TEST(NeutralTranscript, IdentifiersStayOnlyWhereTheScenarioGaveThem) {
    GivenTexts given;
    given.text = "kill ids=11111111-2222-3333-4444-555555555555\n";
    EXPECT_THAT(Neutral({"1 host log text=11111111-2222-3333-4444-555555555555;"
                         "0a0b0c0d-2222-3333-4444-555555555555"},
                        given),
                ElementsAre("host 1: log text=11111111-2222-3333-4444-555555555555;<uuid>"));
}

TEST(FirstDifference, NamesTheLineAndBothOfItsForms) {
    EXPECT_EQ(FirstDifference("a\nb\n", "a\nb\n"), "");
    EXPECT_EQ(FirstDifference("a\nb\nc\n", "a\nx\nc\n"), "line 2 is x instead of b");
    EXPECT_EQ(FirstDifference("a\nb\n", "a\n"), "line 2 is (the end) instead of b");
    EXPECT_EQ(FirstDifference("a\n", "a\nb\n"), "line 2 is b instead of (the end)");
    EXPECT_NE(FirstDifference("a\n", "a\r\n"), "");
    EXPECT_NE(FirstDifference("a\n", "a"), "");
}

}  // namespace
}  // namespace Kyr::Lab::Runner
