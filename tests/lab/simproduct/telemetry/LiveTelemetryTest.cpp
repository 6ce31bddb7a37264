#include <fstream>
#include <gmock/gmock.h>
#include <stdexcept>

#include <boost/make_shared.hpp>

#include "lab/simproduct/telemetry/LiveTelemetry.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/system/TemporaryFolder.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::CManualClock;
using Test::CTemporaryFolder;
using namespace testing;

constexpr char kDigestOfAbc[] =
    R"("sha256":"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad")";

/// Processes that a test puts there and takes away.
class CFakeTable : public IProcessTable {
  public:
    std::vector<ProcessId> List() override {
        if (broken) {
            throw std::runtime_error("cannot list processes");
        }
        std::vector<ProcessId> list;
        for (const auto& [id, facts] : processes) {
            list.push_back(id);
        }
        return list;
    }
    std::optional<ProcessFacts> Describe(const ProcessId& id) override {
        const auto found = processes.find(id);
        return found == processes.end() ? std::nullopt : std::optional(found->second);
    }

    // Changed only while nobody looks.
    std::map<ProcessId, ProcessFacts> processes;
    bool broken = false;
};

ProcessFacts Facts(const std::string& name) {
    return {1, name, "", "", "1000"};
}

class LiveTelemetryTest : public ::testing::Test {
  protected:
    void Start(const TelemetryScope& scope = {}) {
        telemetry_.Start(scope);
        ASSERT_TRUE(clock_->AwaitSleepers(1));
    }

    /// Lets the telemetry look once, and returns what it saw.
    std::vector<std::string> Look() {
        EXPECT_TRUE(clock_->AdvanceToNextSleep(std::chrono::milliseconds(100)));
        return lines_.Take();
    }

    /// Lets a process of the program run for two looks, and returns the record of its start.
    std::string RecordOfStart(const std::string& program) {
        const std::uint64_t pid = ++lastPid_;
        table_.processes[{pid, 1}] = {1, "sh", program, program, "1000"};
        Look();
        Look();
        return Record(lists_.Count(RecordKind::kTelemetry));
    }

    /// A victim that is no child of 5, one that is, and another program that is; seen once.
    void StartThree() {
        table_.processes = {{{7, 1}, {6, "victim", "", "", "1000"}},
                            {{8, 1}, {5, "victim", "", "", "1000"}},
                            {{9, 1}, {5, "sh", "", "", "1000"}}};
        Look();
    }

    std::string Record(std::uint64_t number) const {
        return lists_.From(RecordKind::kTelemetry, number - 1).at(0).text;
    }

    CFakeTable table_;
    std::uint64_t lastPid_ = 100;
    CRecordLists lists_;
    CLineList lines_;
    boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    CLiveTelemetry telemetry_{table_, lists_, clock_, lines_.Sink()};
};

TEST_F(LiveTelemetryTest, WhatRunsAlreadyIsNotRecorded) {
    table_.processes[{7, 1}] = Facts("old");
    Start();
    Look();
    EXPECT_THAT(Look(), IsEmpty());
}

TEST_F(LiveTelemetryTest, NewProcessIsRecordedAtTheSecondLook) {
    Start();
    table_.processes[{8, 1}] = Facts("sh");
    EXPECT_THAT(Look(), IsEmpty());
    EXPECT_THAT(Look(), ElementsAre("observed action=process-started pid=8 name=sh number=1"));
    EXPECT_THAT(Record(1), HasSubstr("\"action\":\"process-started\",\"sequence\":1"));
    EXPECT_THAT(Record(1), HasSubstr("\"@timestamp\":\"2023-11-14T22:13:20Z\""));
}

TEST_F(LiveTelemetryTest, ProcessThatBecomesAnotherProgramIsRecordedAsThat) {
    Start();
    table_.processes[{8, 1}] = Facts("shell");
    Look();
    table_.processes[{8, 1}] = Facts("child");
    EXPECT_THAT(Look(), ElementsAre(HasSubstr("name=child")));
}

TEST_F(LiveTelemetryTest, EndIsRecordedWithWhatWasKnown) {
    table_.processes[{7, 1}] = Facts("old");
    Start();
    table_.processes.clear();
    EXPECT_THAT(Look(), ElementsAre("observed action=process-ended pid=7 name=old number=1"));
    EXPECT_THAT(Record(1), HasSubstr("\"user\":{\"id\":\"1000\"}"));
}

TEST_F(LiveTelemetryTest, ProcessSeenOnceIsRecordedWithStartAndEnd) {
    Start();
    table_.processes[{8, 1}] = Facts("brief");
    Look();
    table_.processes.clear();
    EXPECT_THAT(Look(), ElementsAre("observed action=process-started pid=8 name=brief number=1",
                                    "observed action=process-ended pid=8 name=brief number=2"));
}

TEST_F(LiveTelemetryTest, NumberThatIsUsedAgainIsAnotherProcess) {
    table_.processes[{7, 1}] = Facts("old");
    Start();
    table_.processes = {{{7, 2}, Facts("new")}};
    EXPECT_THAT(Look(), ElementsAre(HasSubstr("process-ended pid=7 name=old")));
    EXPECT_THAT(Look(), ElementsAre(HasSubstr("process-started pid=7 name=new")));
}

TEST_F(LiveTelemetryTest, OnlyTheNamedProgramIsRecorded) {
    table_.processes = {{{7, 1}, Facts("sh")}, {{8, 1}, Facts("victim.exe")}};
    Start({"victim"});
    table_.processes.clear();
    EXPECT_THAT(Look(), ElementsAre(HasSubstr("pid=8 name=victim.exe")));
}

TEST_F(LiveTelemetryTest, OnlyWhatThatProcessHasStartedIsRecorded) {
    Start({"", 5});
    StartThree();
    EXPECT_THAT(Look(), ElementsAre(HasSubstr("pid=8 name=victim"), HasSubstr("pid=9 name=sh")));
}

TEST_F(LiveTelemetryTest, ProgramAndParentMustBothFit) {
    Start({"victim", 5});
    StartThree();
    EXPECT_THAT(Look(), ElementsAre(HasSubstr("pid=8 name=victim")));
}

TEST_F(LiveTelemetryTest, RecordHasTheDigestOfTheProgram) {
    const CTemporaryFolder folder;
    std::ofstream(folder.File("sh")) << "abc";
    Start();
    EXPECT_THAT(RecordOfStart(folder.File("sh")), HasSubstr(kDigestOfAbc));
}

TEST_F(LiveTelemetryTest, ReplacedProgramHasAnotherDigest) {
    const CTemporaryFolder folder;
    std::ofstream(folder.File("sh")) << "abcd";
    Start();
    EXPECT_THAT(RecordOfStart(folder.File("sh")), Not(HasSubstr(kDigestOfAbc)));
    std::ofstream(folder.File("sh")) << "abc";
    EXPECT_THAT(RecordOfStart(folder.File("sh")), HasSubstr(kDigestOfAbc));
}

TEST_F(LiveTelemetryTest, ProgramThatCannotBeReadHasNoDigest) {
    const CTemporaryFolder folder;
    Start();
    EXPECT_THAT(RecordOfStart(folder.File("gone")), Not(HasSubstr("sha256")));
}

TEST_F(LiveTelemetryTest, LookThatCannotBeTakenEndsTheTelemetry) {
    Start();
    table_.broken = true;
    clock_->Advance(std::chrono::milliseconds(100));
    EXPECT_TRUE(clock_->AwaitSleepers(0));
    telemetry_.Stop();
    EXPECT_THAT(lines_.Take(), ElementsAre("error operation=live text=\"cannot list processes\""));
}

TEST_F(LiveTelemetryTest, StoppedTelemetryLooksNoMore) {
    Start();
    telemetry_.Stop();
    EXPECT_TRUE(clock_->AwaitSleepers(0));
    telemetry_.Stop();
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
