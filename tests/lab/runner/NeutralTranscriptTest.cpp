#include <gtest/gtest.h>

#include "lab/runner/NeutralTranscript.h"

namespace Kyr::Lab::Runner {
namespace {

/// A run with one process of each actor.
class NeutralTranscript : public ::testing::Test {
  protected:
    NeutralTranscript() {
        transcript_.Begin("host");
        transcript_.Begin("product");
    }

    /// From now on the run is one in which the connector's watch collects records.
    void Collect() { Tell("host", "publish name=OvAgentRequest by=module request=5"); }
    void Tell(const std::string& actor, const std::string& event) {
        transcript_.Event(actor, ParseLine("00:00:00.000 " + event).line);
    }
    void Log(const std::string& text) {
        transcript_.Event("host", CLine("log").With("level", "2").With("text", text));
    }
    static std::string Logged(const std::string& text) {
        return "host 1: log level=2 text=" + text + "\n";
    }

    CNeutralTranscript transcript_;
};

TEST_F(NeutralTranscript, KeepsTheOrderWithinAKindAndPutsKindsTogether) {
    Log("one");
    Tell("host", "life call=Start");
    Log("two");
    EXPECT_EQ(transcript_.Text(),
              "host 1: life call=Start\n"
              "host 1: log level=2 text=one\n"
              "host 1: log level=2 text=two\n");
}

TEST_F(NeutralTranscript, EachLineNamesTheEventThatItIsOf) {
    transcript_.Event("host", CLine("log").With("level", "2"), 7);
    transcript_.Event("host", CLine("life").With("call", "Start"), 9);
    const std::vector<NeutralLine> lines = transcript_.Lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].text, "host 1: life call=Start");
    EXPECT_EQ(lines[0].event, 9U);
    EXPECT_EQ(lines[1].event, 7U);
}

TEST_F(NeutralTranscript, OfWhatComesWithEveryLookTheFirstEventIsNamed) {
    transcript_.Event("product", CLine("request").With("command", "0"), 3);
    transcript_.Event("product", CLine("request").With("command", "0"), 5);
    const std::vector<NeutralLine> lines = transcript_.Lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].event, 3U);
}

TEST_F(NeutralTranscript, WhatTheLabTellsOfItselfIsLeftOut) {
    Tell("host", "ready module=M");
    Tell("product", "connect client=1");
    Tell("product", "answer command=quit");
    EXPECT_EQ(transcript_.Text(), "");
}

TEST_F(NeutralTranscript, ProcessesOfOneActorStandOneAfterTheOther) {
    Log("before");
    transcript_.Begin("host");
    Log("after");
    EXPECT_EQ(transcript_.Text(),
              "host 1: log level=2 text=before\n"
              "host 2: log level=2 text=after\n");
}

TEST_F(NeutralTranscript, CountersAreDroppedAndUnnamedProcessesHaveNoNumber) {
    Tell("product", "did id=7 action=kill pid=4711");
    EXPECT_EQ(transcript_.Text(), "product 1: did action=kill pid=*\n");
}

TEST_F(NeutralTranscript, NamedProcessIsWrittenByItsNameWhereItIsAWholeWord) {
    transcript_.Name("pid", "36", "victim.pid");
    Log("PID=\"36\" 360 136 36");
    EXPECT_EQ(transcript_.Text(), Logged("\"PID=\\\"$victim.pid\\\" 360 136 $victim.pid\""));
}

TEST_F(NeutralTranscript, NumberInANameIsNotTheProcessOfThatNumber) {
    transcript_.Name("pid", "256", "first.pid");
    Log("HASH_SHA2_256 256_a 256");
    EXPECT_EQ(transcript_.Text(), Logged("\"HASH_SHA2_256 256_a $first.pid\""));
}

TEST_F(NeutralTranscript, NumberThatAnotherProcessGetsIsWrittenByItsNewName) {
    Log("start 36");
    transcript_.Name("pid", "36", "first.pid");
    Log("end 36");
    transcript_.Name("pid", "36", "second.pid");
    Log("end 36");
    EXPECT_EQ(transcript_.Text(), Logged("\"start $first.pid\"") + Logged("\"end $first.pid\"") +
                                      Logged("\"end $second.pid\""));
}

TEST_F(NeutralTranscript, NumbersThatHappenToBeAProcessStay) {
    transcript_.Name("pid", "918", "victim.pid");
    Tell("host", "publish type=918");
    EXPECT_EQ(transcript_.Text(), "host 1: publish type=918\n");
}

TEST_F(NeutralTranscript, NameOfWhatIsTheSameInEveryRunChangesNothing) {
    transcript_.Name("command", "start", "victim.command");
    Log("start");
    EXPECT_EQ(transcript_.Text(), Logged("start"));
}

TEST_F(NeutralTranscript, IdentifiersStayOnlyWhereTheScenarioGaveThem) {
    transcript_.Given("kill ids=11111111-2222-3333-4444-555555555555\n");
    Log("11111111-2222-3333-4444-555555555555;0a0b0c0d-2222-3333-4444-555555555555");
    EXPECT_EQ(transcript_.Text(), Logged("11111111-2222-3333-4444-555555555555;<uuid>"));
}

TEST_F(NeutralTranscript, DatesHaveNoValue) {
    Log("2026-11-21T13:05:59Z");
    EXPECT_EQ(transcript_.Text(), Logged("<time>"));
}

TEST_F(NeutralTranscript, WireBytesAreReadableAndNameProcessesToo) {
    transcript_.Name("pid", "4711", "victim.pid");
    Tell("product",
         "request command=3 length=9 bytes=0c00ff25"  // 12 0 255 %
         "3c34373131");
    EXPECT_EQ(transcript_.Text(), "product 1: request command=3 bytes=%0c%00%ff%25<$victim.pid\n");
}

TEST_F(NeutralTranscript, LongRowOfEqualBytesIsCounted) {
    std::string hex = "07";
    for (int i = 0; i < 65; ++i) {
        hex += "00";
    }
    Tell("product", "reply code=0 bytes=" + hex + "41");
    EXPECT_EQ(transcript_.Text(), "product 1: reply code=0 bytes=%07%00{65}A\n");
}

TEST_F(NeutralTranscript, ShortRowOfEqualBytesIsWrittenOut) {
    const std::string zeros(64, '0');  // 32 bytes
    Tell("product", "reply code=0 bytes=" + zeros + zeros);
    std::string written;
    for (int i = 0; i < 64; ++i) {
        written += "%00";
    }
    EXPECT_EQ(transcript_.Text(), "product 1: reply code=0 bytes=" + written + "\n");
}

TEST_F(NeutralTranscript, RecordsTellNothingOfTheProcessesOfThisComputer) {
    Tell("product",
         "reply bytes="
         "0c00000000000000ff000000"
         "0a1d"  // and {"@timestamp":1,"process":{}}
         "7b224074696d657374616d70223a312c"
         "2270726f63657373223a7b7d7d");
    EXPECT_EQ(transcript_.Text(),
              "product 1: reply bytes=\"%0c%00%00%00%00%00%00%00<length>%0a<length>"
              "{\\\"@timestamp\\\":1,\\\"process\\\":\\\"*\\\"}\"\n");
}

TEST_F(NeutralTranscript, LengthStaysWhereNoBytesTellIt) {
    Tell("product", "reply code=0 length=12");
    EXPECT_EQ(transcript_.Text(), "product 1: reply code=0 length=12\n");
}

TEST_F(NeutralTranscript, PingsAreToldOnceEach) {
    for (int ping = 0; ping < 3; ++ping) {
        Tell("product", "request transport=alpc command=0");
        Tell("product", "reply transport=alpc length=0");
    }
    Tell("product", "request transport=lpc command=0");
    EXPECT_EQ(transcript_.Text(),
              "product 1: reply transport=alpc length=0\n"
              "product 1: request transport=alpc command=0\n"
              "product 1: request transport=lpc command=0\n");
}

TEST_F(NeutralTranscript, LooksForRecordsThatFindNoneAreToldOnceEach) {
    for (const char* const id : {"1", "2"}) {
        Collect();
        Tell("host", "deliver name=OvAgentRequest");
        Tell("product", std::string("request name=get-actions id=") + id);
        Tell("product", std::string("reply status=0 length=12 id=") + id);
        Log("Empty response received from OV Connector");
    }
    EXPECT_EQ(transcript_.Text(), "host 1: deliver name=OvAgentRequest\n" +
                                      Logged("\"Empty response received from OV Connector\"") +
                                      "host 1: publish name=OvAgentRequest by=module request=5\n"
                                      "product 1: reply status=0 length=12\n"
                                      "product 1: request name=get-actions\n");
}

TEST_F(NeutralTranscript, RequestsForRecordsThatSomebodyGaveAreToldEach) {
    for (const char* const id : {"1", "2"}) {
        Tell("product", std::string("request name=get-actions id=") + id);
        Tell("product", std::string("reply status=0 length=12 id=") + id);
        Tell("host", "deliver name=OvAgentRequest");
    }
    EXPECT_EQ(transcript_.Text(),
              "host 1: deliver name=OvAgentRequest\n"
              "host 1: deliver name=OvAgentRequest\n"
              "product 1: request name=get-actions\n"
              "product 1: request name=get-actions\n"
              "product 1: reply status=0 length=12\n"
              "product 1: reply status=0 length=12\n");
}

TEST_F(NeutralTranscript, ErrorsOfEitherSideAreTold) {
    Tell("product", "error text=blocked");
    Tell("host", "error text=\"no descriptor\"");
    EXPECT_EQ(transcript_.Text(),
              "host 1: error text=\"no descriptor\"\n"
              "product 1: error text=blocked\n");
}

TEST_F(NeutralTranscript, EachReplyThatIsNoEmptyListOfRecordsIsTold) {
    Collect();
    Tell("product", "request id=1 name=import");
    Tell("product", "reply status=0 length=12 id=1");
    Tell("product", "request id=2 name=import");
    Tell("product", "reply status=0 length=12 id=2");
    for (const char* const id : {"3", "4"}) {
        Tell("product", std::string("request name=get-actions id=") + id);
        Tell("product", std::string("reply status=0 length=40 id=") + id);
    }
    EXPECT_EQ(transcript_.Text(),
              "host 1: publish name=OvAgentRequest by=module request=5\n"
              "product 1: request name=import\n"
              "product 1: request name=import\n"
              "product 1: reply status=0 length=12\n"
              "product 1: reply status=0 length=12\n"
              "product 1: reply status=0 length=40\n"
              "product 1: reply status=0 length=40\n"
              "product 1: request name=get-actions\n");
}

TEST_F(NeutralTranscript, ThreadsThatTellBesideEachOtherAreKeptApart) {
    Tell("host", "publish name=OvAgentRequest by=module request=0");
    Log("Ping failed -> again");
    Log("one");
    Tell("host", "publish name=EventLog_TASK by=module");
    Tell("host", "publish name=KillProcessByPid by=host");
    Log("Received broadcast 2");
    Log("two");
    EXPECT_EQ(transcript_.Text(),
              "host 1: publish name=KillProcessByPid by=host\n"
              "host 1: log level=2 text=one\n"
              "host 1: log level=2 text=two\n"
              "host 1: publish name=EventLog_TASK by=module\n"
              "host 1: publish name=OvAgentRequest by=module request=0\n" +
                  Logged("\"Ping failed -> again\"") + Logged("\"Received broadcast 2\""));
}

TEST_F(NeutralTranscript, StopThatFoundTheModuleBusyIsNotTold) {
    Tell("host", "life call=Stop(false) result=false");
    Tell("host", "life call=Stop(false) result=true");
    EXPECT_EQ(transcript_.Text(), "host 1: life call=Stop(false) result=true\n");
}

TEST(FirstDifference, EqualTranscriptsHaveNone) {
    EXPECT_EQ(FirstDifference("a\nb\n", "a\nb\n"), "");
}

TEST(FirstDifference, NamesTheLineAndBothOfItsForms) {
    EXPECT_EQ(FirstDifference("a\nb\nc\n", "a\nx\nc\n"), "line 2 is x instead of b");
}

TEST(FirstDifference, OneMayEndBeforeTheOther) {
    EXPECT_EQ(FirstDifference("a\nb\n", "a\n"), "line 2 is (the end) instead of b");
    EXPECT_EQ(FirstDifference("a\n", "a\nb\n"), "line 2 is b instead of (the end)");
}

TEST(FirstDifference, EndsOfLinesCount) {
    EXPECT_NE(FirstDifference("a\n", "a\r\n"), "");
    EXPECT_NE(FirstDifference("a\n", "a"), "");
}

}  // namespace
}  // namespace Kyr::Lab::Runner
