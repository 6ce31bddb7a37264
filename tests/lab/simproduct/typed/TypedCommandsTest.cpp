#include "module/ProductBuildReader.h"
#include "tests/lab/simproduct/ProductFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Typed {
    const char* name;                // situation and outcome
    std::vector<const char*> lines;  // only what the last one writes is looked at
    std::vector<std::string> events;
};

const char kFilesLine[] =
    "answer command=protection name=files status=0 category=0x710000000000301 "
    "text=0x710000000000311";
const char kNetworkLine[] =
    "answer command=protection name=network status=0 category=0x710000000000302 "
    "text=0x710000000000312";

const Typed kTyped[] = {
    {"FaultIsAddedAndTold",
     {"misbehave status 14 for=2"},
     {"answer command=misbehave fault=\"status 14 for=2\"", "answer command=misbehave faults=1"}},
    {"FaultsAreClearedAtOnce",
     {"misbehave drop", "misbehave hang", "misbehave clear"},
     {"answer command=misbehave faults=0"}},
    {"ClearingOneFaultLeavesTheOthers",
     {"misbehave drop", "misbehave hang", "misbehave clear drop"},
     {"answer command=misbehave fault=hang", "answer command=misbehave faults=1"}},
    {"BroadcastRaisesAValueByOne",
     {"broadcast index=2", "broadcast index=2"},
     {"answer command=broadcast index=2 value=2"}},
    {"BroadcastSetsAValueAndWithoutAnIndexTellsThemAll",
     {"broadcast index=10 value=0xFFFFFFFF", "broadcast"},
     {"answer command=broadcast 0=0 1=0 2=0 3=0 4=0 5=0 6=0 7=0 8=0 9=0 10=4294967295"}},
    {"AreaTellsItsWords",
     {"area"},
     {"answer command=area mutex=free header-size=32 magic=1131177291 version=2 data-offset=64 "
      "data-size=1024 first-module=80 module-count=3 module-id=16793600 user-size=8 "
      "user-offset=208 timestamp=2"}},
    {"ValuesStayWhenALieEnds",
     {"broadcast index=2 value=9", "area set version 3", "area healthy", "broadcast index=2"},
     {"answer command=broadcast index=2 value=10"}},
    {"ProtectionAloneTellsTheComponents",
     {"protection"},
     {kFilesLine, kNetworkLine, "answer command=protection components=2"}},
    {"StatusOfAComponentIsChangedAlone",
     {"protection set files 1"},
     {"answer command=protection name=files status=1 category=0x710000000000301 "
      "text=0x710000000000311",
      kNetworkLine, "answer command=protection components=2"}},
    {"NewComponentTakesItsTexts",
     {"protection set mail 2 category=0xA text=0xB description=0xC"},
     {kFilesLine, kNetworkLine,
      "answer command=protection name=mail status=2 category=0xA text=0xB description=0xC",
      "answer command=protection components=3"}},
    {"AnyOutcomeCanBeAdded",
     {"results add 0xFFFFFFFF \"a b\" offset=40"},
     {"answer command=results outcome=4294967295 userdata=\"a b\" offset=40",
      "answer command=results waiting=1"}},
    {"CountsAndLimitsOfRecordsAreTold",
     {"records append telemetry count=3", "records"},
     {"answer command=records indicator=0 telemetry=3 action=0 batch=1000 bytes=1048576"}},
    {"LimitsOfRecordsAreSetOneByOne",
     {"records limit batch=5", "records limit bytes=7"},
     {"answer command=records indicator=0 telemetry=0 action=0 batch=5 bytes=7"}},
    {"MoreRecordsThanACommandAppendsAreRefusedWithTheLimit",
     {"records append action count=100001"},
     {"error command=records text=\"count is at most 100000\""}},
    {"MoreBytesThanACommandAppendsAreRefusedWithTheLimit",
     {"records append action count=2 size=134217729"},
     {"error command=records text=\"size is at most 134217728\""}},
};

class TypedCommandsTest : public ProductFixture, public ::testing::WithParamInterface<Typed> {
  protected:
    TypedCommandsTest() { product_.area.Open(); }
};

TEST_P(TypedCommandsTest, IsAnswered) {
    std::vector<std::string> events;
    for (const char* line : GetParam().lines) {
        events = Execute(line);
    }
    EXPECT_EQ(GetParam().events, events);
}

INSTANTIATE_TEST_SUITE_P(All, TypedCommandsTest, ::testing::ValuesIn(kTyped),
                         [](const auto& row) { return row.param.name; });

class TypedDeedsTest : public ProductFixture {
  protected:
    static std::optional<std::int64_t> Build() {
        return Connectors::OvAgentConnector::SystemProductBuildReader()->Read();
    }

    /// As they stand in their file.
    std::vector<ProductRecord> Records(RecordKind wanted) const {
        std::vector<ProductRecord> records;
        ReadRecords(records_, 0, [&](RecordKind kind, ProductRecord record) {
            if (kind == wanted) {
                records.push_back(std::move(record));
            }
        });
        return records;
    }
};

TEST_F(TypedDeedsTest, WhatIsNotUnderstoodIsRefusedAndChangesNothing) {
    product_.area.Open();
    Execute("install build=1");
    Execute("misbehave drop");
    const std::pair<const char*, std::vector<const char*>> kRefused[] = {
        {"misbehave", {"unknown", "clear dorp", "clear drop hang"}},
        {"broadcast", {"index=11", "index=1 value=4294967296", "1", "value=1", "index=1 1"}},
        {"area", {"fly", "set version", "set colour 1", "hold now"}},
        {"start", {"", "one /no/such/program"}},
        {"adopt", {"old", "old x", "old 77 78"}},
        {"tasklog", {"1"}},
        {"records", {"append", "append tasks", "append action kind=3", "append action count=many"}},
        {"records", {"append action type=3,", "limit 5", "remove"}},
        {"live", {"", "off now", "maybe"}},
        {"install", {"", "5058", "build=5o", "build=2147483648", "build=0x10", "build=7 now"}},
        {"install", {"build=+5", "\"build= 1\"", "\"build=1 \""}},
        {"uninstall", {"now"}},
        {"protection", {"set files", "set files x", "set files 4294967296", "off", "raw a b"}},
        {"protection", {"set files 1 kind=1"}},
        {"results", {"add 1", "add a b", "add 1 a size=3", "add 1 a offset=4294967296", "drop"}},
        {"configuration", {"show"}},
    };
    for (const auto& [command, rests] : kRefused) {
        for (const char* rest : rests) {
            const std::string line = std::string(command) + ' ' + rest;
            EXPECT_THAT(Execute(line), ElementsAre(StartsWith("error "))) << line;
        }
    }
    EXPECT_EQ(1, Build());
    EXPECT_EQ(0u, product_.protection.Reported()[0].status);
    EXPECT_TRUE(product_.results.List().empty());
    EXPECT_EQ(0u, product_.records.Count(RecordKind::kAction));
    EXPECT_THAT(Execute("misbehave"), ElementsAre("answer command=misbehave fault=drop",
                                                  "answer command=misbehave faults=1"));
    EXPECT_EQ(2u, product_.area.Image().Read(AreaField::kVersion));
    EXPECT_FALSE(product_.area.IsHeld());
}

TEST_F(TypedDeedsTest, AbsentPortIsClosedAtOnceAndOpenedAgain) {
    OpenPorts(misbehaviours_, *product_.alpc, *product_.lpc);
    EXPECT_TRUE(product_.alpc->IsOpen());

    Execute("misbehave no-alpc");
    EXPECT_FALSE(product_.alpc->IsOpen());
    EXPECT_TRUE(product_.lpc->IsOpen());

    Execute("misbehave clear no-alpc");
    EXPECT_TRUE(product_.alpc->IsOpen());
}

TEST_F(TypedDeedsTest, AreaOfARecordingIsServedInsteadOfAHealthyOne) {
    Bytes recorded(CAreaImage::kSize);
    recorded[64 + 24] = 7;  // the first value
    product_.area.Open(recorded);
    EXPECT_EQ(product_.area.Value(0), 7u);
}

TEST_F(TypedDeedsTest, MutexIsHeldAndReleased) {
    product_.area.Open();
    EXPECT_THAT(Execute("area hold"), ElementsAre(HasSubstr(" mutex=held ")));
    EXPECT_THAT(Execute("area hold"), ElementsAre(HasSubstr(" mutex=held ")));
    EXPECT_THAT(Execute("broadcast index=0"), ElementsAre(HasSubstr("value=1")));
    EXPECT_THAT(Execute("area release"), ElementsAre(HasSubstr(" mutex=free ")));
}

TEST_F(TypedDeedsTest, VictimIsStartedUnlessAProgramIsNamedWithItsArguments) {
    EXPECT_THAT(Execute("start one"),
                ElementsAre("started pid=1000 name=one program=" + program_ + " sha256=" + kSha256,
                            "answer command=start name=one pid=1000"));
    Execute("start two \"" + program_ + "\" first \"second one\" n=1");

    EXPECT_THAT(launcher_.launches, ElementsAre(program_, program_ + " first second one n=1"));
}

TEST_F(TypedDeedsTest, AdoptTakesOverAVictim) {
    EXPECT_THAT(Execute("adopt old 77"), Contains("answer command=adopt name=old pid=77"));
    EXPECT_THAT(launcher_.launches, ElementsAre(program_ + " #77"));
}

TEST_F(TypedDeedsTest, TaskLogTellsTasksAndOutcomesInTheirOrder) {
    product_.tasks.KillProcess("7", {}, "a;b;c");
    product_.tasks.BlockExecutable({kSha1, std::nullopt}, false, "second");
    lines_.Take();

    EXPECT_THAT(Execute("tasklog"),
                ElementsAre("answer command=tasklog number=1 function=KILL_PROCESS_BY_PID "
                            "state=refused text=\"not a lab process\" userdata=a;b;c",
                            "answer command=tasklog number=2 function=BLOCK_EXECUTABLE_BY_HASH "
                            "state=done text=blocked userdata=second",
                            "answer command=tasklog tasks=2"));
}

TEST_F(TypedDeedsTest, BuildIsFoundUntilItIsUpgradedOrTakenBack) {
    EXPECT_THAT(Execute("uninstall"), ElementsAre("answer command=uninstall"));
    EXPECT_EQ(std::nullopt, Build());
    Execute("install build=5057");
    EXPECT_EQ(5057, Build());
    EXPECT_THAT(Execute("install build=-1"), ElementsAre("answer command=install build=-1"));
    EXPECT_EQ(-1, Build());
    Execute("uninstall");
    EXPECT_EQ(std::nullopt, Build());
}

TEST_F(TypedDeedsTest, RawTextIsReportedUntilItIsTakenBack) {
    Execute("protection raw <TULK>");
    EXPECT_EQ("<TULK>", product_.protection.Report());

    Execute("protection raw");
    EXPECT_NE("<TULK>", product_.protection.Report());
}

TEST_F(TypedDeedsTest, OfALongConfigurationOnlyTheBeginningIsShown) {
    product_.configuration.Replace(std::string(1000, 'x'));

    EXPECT_THAT(
        Execute("configuration"),
        ElementsAre("answer command=configuration length=1000 text=" + std::string(200, 'x')));
}

TEST_F(TypedDeedsTest, RecordCarriesItsNumberAndHasTheWantedSize) {
    Execute("records append indicator count=2 size=500");

    const std::string second = Records(RecordKind::kIndicator).at(1).text;
    EXPECT_THAT(second, HasSubstr("\"sequence\":2"));
    EXPECT_EQ(500u, second.size());
}

TEST_F(TypedDeedsTest, ActionsBlockUnlessTypesAreNamed) {
    Execute("records append action");
    Execute("records append action type=1,3,2 count=4");

    std::vector<std::int32_t> types;
    for (const ProductRecord& record : Records(RecordKind::kAction)) {
        types.push_back(record.actionType);
    }
    EXPECT_THAT(types, ElementsAre(3, 1, 3, 2, 1));
}

TEST_F(TypedDeedsTest, AppendingEndsOnceTheProgramIsAskedToEnd) {
    most_ = 3;
    EXPECT_THAT(Execute("records append action count=100000"),
                ElementsAre("error command=records text=\"given up after 3 records\""));
    EXPECT_EQ(3u, product_.records.Count(RecordKind::kAction));
}

TEST_F(TypedDeedsTest, LiveRecordsWhatStartsWhileItIsOn) {
    Execute("start before");
    EXPECT_THAT(Execute("live on"), ElementsAre("answer command=live state=on"));
    EXPECT_THAT(Execute("start one"),
                Contains("observed action=process-started pid=1001 name=program number=1"));
    EXPECT_THAT(Execute("live off"), ElementsAre("answer command=live state=off"));
    Execute("start last");
    EXPECT_EQ(1u, product_.records.Count(RecordKind::kTelemetry));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
