#include <gtest/gtest.h>

#include "lab/runner/Narration.h"

namespace Kyr::Lab::Runner {
namespace {

TEST(Narration, LogLineKeepsItsTextAndWeighsByLevel) {
    const Narration told =
        Narrate(CLine("log").With("level", "4").With("source", "M").With("text", "it failed"));
    EXPECT_EQ(told.text, "log 4  it failed");
    EXPECT_EQ(told.weight, Weight::kError);
    EXPECT_EQ(Narrate(CLine("log").With("level", "3").With("text", "t")).weight, Weight::kWarning);
    EXPECT_EQ(Narrate(CLine("log").With("level", "2").With("text", "t")).weight, Weight::kOrdinary);
}

TEST(Narration, RequestNamesTransportFunctionAndLength) {
    EXPECT_EQ(Narrate(CLine("request")
                          .With("transport", "alpc")
                          .With("command", "3")
                          .With("function", "KILL_PROCESS_BY_PID")
                          .With("length", "361"))
                  .text,
              "KILL_PROCESS_BY_PID over ALPC, 361 bytes");
}

TEST(Narration, CommandZeroIsAPing) {
    EXPECT_EQ(Narrate(CLine("request").With("transport", "lpc").With("command", "0")).text,
              "ping over LPC");
}

TEST(Narration, RefusalWeighsMoreThanSuccess) {
    CLine refused("reply");
    refused.With("transport", "lpc").With("status", "14").With("length", "12");
    EXPECT_EQ(Narrate(refused).text, "status 14 over LPC, 12 bytes");
    EXPECT_EQ(Narrate(refused).weight, Weight::kWarning);
}

TEST(Narration, RequestAndReplyCrossTheWireInTheirDirections) {
    EXPECT_EQ(Narrate(CLine("request").With("command", "3")).road, Road::kToProduct);
    EXPECT_EQ(Narrate(CLine("reply").With("status", "0")).road, Road::kFromProduct);
    EXPECT_EQ(Narrate(CLine("did").With("action", "kill")).road, Road::kNone);
}

TEST(Narration, ReplyThatNeverComesIsAWarning) {
    const Narration told =
        Narrate(CLine("reply").With("transport", "alpc").With("delivery", "never"));
    EXPECT_EQ(told.text, "no reply over ALPC: never");
    EXPECT_EQ(told.weight, Weight::kWarning);
}

TEST(Narration, WhatComesWithTimeIsToldOncePerStep) {
    EXPECT_TRUE(Narrate(CLine("request").With("command", "0")).oncePerStep);
    EXPECT_FALSE(Narrate(CLine("request").With("command", "3")).oncePerStep);
}

TEST(Narration, ModulesOwnRequestSaysWhatItIsFor) {
    EXPECT_EQ(Narrate(CLine("publish")
                          .With("type", "7")
                          .With("name", "OvAgentRequest")
                          .With("by", "module")
                          .With("request", "3"))
                  .text,
              "bus    OvAgentRequest (7) for indicators published by the module");
}

TEST(Narration, DeedOfTheProductIsToldInItsOwnWords) {
    EXPECT_EQ(Narrate(CLine("did").With("action", "import").With("length", "20")).text,
              "takes a policy of 20 bytes");
    EXPECT_EQ(Narrate(CLine("did")
                          .With("action", "block")
                          .With("sha256", "26e8bb5584744017af08")
                          .With("outcome", "done")
                          .With("text", "blocked"))
                  .text,
              "block 26e8bb558474...: done, blocked");
}

TEST(Narration, RefusedCommandIsAWarningAndAnyOtherErrorAnError) {
    const Narration refused =
        Narrate(CLine("error").With("command", "start").With("text", "blocked"));
    EXPECT_EQ(refused.text, "refuses: start, blocked");
    EXPECT_EQ(refused.weight, Weight::kWarning);
    EXPECT_EQ(Narrate(CLine("error").With("text", "t")).weight, Weight::kError);
}

TEST(Narration, StopThatSucceededIsShown) {
    EXPECT_EQ(Narrate(CLine("life").With("call", "Stop(true)").With("result", "true")).weight,
              Weight::kOrdinary);
    EXPECT_EQ(Narrate(CLine("life").With("call", "Stop(false)").With("result", "false")).weight,
              Weight::kDetail);
}

TEST(Narration, EndedProcessNamesWhoDidIt) {
    EXPECT_EQ(Narrate(CLine("ended").With("pid", "7").With("name", "v").With("by", "itself")).text,
              "process v (7) ended by itself");
}

TEST(Narration, SymbolsAreToldByNameOnly) {
    EXPECT_EQ(Narrate(CLine("symbols").With("row", "0").With("2836-status", "4")).text,
              "        status=4");
}

TEST(Narration, SymbolsLeaveIdentifiersAndTimesToTheTranscript) {
    EXPECT_EQ(Narrate(CLine("symbols")
                          .With("2842-task-first", "11111111-1111-1111-1111-111111111111")
                          .With("2838-time", "2026-11-21T03:07:50Z")
                          .With("2850-severity", "40"))
                  .text,
              "        severity=40");
}

TEST(Narration, FailedLifeCycleCallIsAnError) {
    EXPECT_EQ(Narrate(CLine("life").With("call", "Start").With("result", "failed")).weight,
              Weight::kError);
    EXPECT_EQ(Narrate(CLine("life").With("call", "Start").With("result", "ok")).weight,
              Weight::kDetail);
}

TEST(Narration, UnknownKindIsToldAsItStands) {
    EXPECT_EQ(Narrate(CLine("text").With("text", "a b")).text, "text text=\"a b\"");
}

TEST(Narration, TalliesStandBelowEachOther) {
    EXPECT_EQ(Narrate(CLine("tally")
                          .With("kind", "indicator")
                          .With("sent", "1500")
                          .With("stored", "1600")
                          .With("twice", "100")
                          .With("lost", "0"))
                  .text,
              "miner  indicator  sent  1500  stored  1600  twice   100  lost     0");
    EXPECT_EQ(
        Narrate(CLine("tally").With("kind", "action").With("stored", "3").With("twice", "0")).text,
        "miner  action     stored     3  twice     0");
}

TEST(Narration, BatchOfRecordsIsToldOnBothSides) {
    EXPECT_EQ(
        Narrate(CLine("handed").With("kind", "telemetry").With("from", "3").With("records", "2"))
            .text,
        "hands out 2 records (telemetry), from number 3 on");
    EXPECT_EQ(Narrate(CLine("mined").With("name", "Batch").With("records", "2")).text,
              "miner  stored 2 records (Batch)");
}

TEST(Narration, ObservedProcessNamesItsRecord) {
    EXPECT_EQ(Narrate(CLine("observed")
                          .With("action", "process-started")
                          .With("pid", "7")
                          .With("name", "victim")
                          .With("number", "1"))
                  .text,
              "telemetry record 1: process-started, victim (7)");
}

}  // namespace
}  // namespace Kyr::Lab::Runner
