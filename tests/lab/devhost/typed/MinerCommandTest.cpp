#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/typed/HostCommands.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Test {
namespace {

using Common::Kernel::MessageType;
using Lab::DevHost::CDatabase;
using ::testing::ElementsAre;

constexpr char kOne[] = R"({"event":{"sequence":1}})";
constexpr char kTwo[] = R"({"event":{"kind":"alert","sequence":2},"message":""})";
constexpr char kThree[] = R"({"event":{"sequence":3}})";

std::vector<std::string> Tallies(CDatabase& database, const std::string& words) {
    Lab::CLineList events;
    Lab::CCommandWords arguments(Lab::SplitWords(words));
    MakeMinerCommand(database).run(arguments, events.Sink());
    return events.Texts();
}

TEST(MinerCommandTest, WithoutRecordsEverythingIsZero) {
    CDatabase database(":memory:");
    EXPECT_THAT(
        Tallies(database, ""),
        ElementsAre("tally kind=indicator stored=0 twice=0 in-order=yes",
                    "tally kind=telemetry stored=0 twice=0 in-order=yes",
                    "tally kind=action stored=0 twice=0 in-order=yes", "answer command=miner"));
}

TEST(MinerCommandTest, RecordsAreCountedByTheirNumbers) {
    const struct {
        const char* situation;
        std::vector<std::string> records;
        const char* tally;
    } kRows[] = {
        {"once and in order", {kOne, kTwo, kThree}, "stored=3 twice=0 lost=0 in-order=yes"},
        {"a batch came again",
         {kOne, kTwo, kOne, kTwo, kThree},
         "stored=5 twice=2 lost=0 in-order=yes"},
        {"one never came", {kOne, kThree}, "stored=2 twice=0 lost=1 in-order=yes"},
        {"one came too early", {kTwo, kOne, kThree}, "stored=3 twice=0 lost=0 in-order=no"},
        {"one has no number", {"text", kOne, kOne}, "stored=3 twice=1 lost=1 in-order=yes"},
        {"more than were sent",
         {kOne, kTwo, kThree, "text"},
         "stored=4 twice=0 lost=0 in-order=yes"},
    };
    for (const auto& row : kRows) {
        CDatabase database(":memory:");
        database.StoreRecords(MessageType::DataMinerStoreEcsTelemetryLogs, row.records);
        EXPECT_EQ(std::string("tally kind=telemetry sent=3 ") + row.tally,
                  Tallies(database, "telemetry=3").at(1))
            << row.situation;
    }
}

TEST(MinerCommandTest, TextsWithoutANumberAreNeverTheSame) {
    for (const char* text : {"", "text", "{}", "[1]", R"({"event":1})", R"({"event":{}})",
                             R"({"event":{"sequence":"1"}})", R"({"event":{"sequence":0}})",
                             R"({"event":{"sequence":-1}})", R"({"event":{"sequence":1})"}) {
        CDatabase database(":memory:");
        database.StoreRecords(MessageType::DataMinerStoreEcsIndicatorLogs, {text, text});
        EXPECT_EQ("tally kind=indicator stored=2 twice=0 in-order=yes",
                  Tallies(database, "").front())
            << text;
    }
}

TEST(MinerCommandTest, ActionsAreCountedByTheTextThatTheHostDoesNotName) {
    CDatabase database(":memory:");
    const std::string action = "\x08\x03\x12\x18{\"event\":{\"sequence\":1}}";
    const std::string withoutText = "\x08\x03";
    const std::string broken = "\x08";
    database.StoreActions({action, action, withoutText, withoutText, broken, broken});
    EXPECT_EQ("tally kind=action sent=6 stored=6 twice=1 lost=1 in-order=yes",
              Tallies(database, "action=6").at(2));
}

TEST(MinerCommandTest, WhatIsNotUnderstoodIsRefused) {
    CDatabase database(":memory:");
    EXPECT_THROW(Tallies(database, "tasks=1"), std::invalid_argument);
    EXPECT_THROW(Tallies(database, "action=many"), std::invalid_argument);
}

}  // namespace
}  // namespace Kyr::Test
