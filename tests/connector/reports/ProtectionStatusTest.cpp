#include "connector/reports/ProtectionStatus.h"
#include "tests/connector/reports/ReportFixture.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Common::Message::Logs::CStatusLog;
using Kyr::Test::ThrownText;
using testing::ElementsAre;

class ProtectionStatusTest : public ReportFixture {
  protected:
    /// A record as a status of 1 or 2 gives it.
    static CProtectionStatusRecord Problem(std::uint32_t status = 1) {
        return {status, 3, 0x071000000000021F, 0x11, 0x22, 0x33};
    }
    static CProtectionStatusRecord Fine() { return {0, 1, 0x071000000000021E, 0x11, 0x22, {}}; }
    static CProtectionStatusRecord NotAvailable() {
        CProtectionStatusRecord record;
        record.status = 0xFFFFFFFF;
        return record;
    }
    boost::shared_ptr<CStatusLog> Make(const std::vector<CProtectionStatusRecord>& records) const {
        return MakeProtectionStatus(records, reporter);
    }
    /// What a row tells about the product's state, and the same of every row: instance, time,
    /// product.
    struct State {
        std::int64_t severity;
        std::uint64_t category;
        std::uint64_t status;
        std::uint64_t text;
    };
    static void ExpectRow(const Kyr::Common::Logs::ISymbolContainer& row, const State& state) {
        EXPECT_EQ(row.GetInt64(241), state.severity);
        EXPECT_EQ(row.GetUuid(235).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
        EXPECT_EQ(Time(row, 242), "2023-11-14 22:13:20");
        EXPECT_EQ(row.GetInt64(244), 17);
        EXPECT_EQ(row.GetResourceId(245), 0x07100000000005E2u);
        EXPECT_EQ(row.GetResourceId(246), state.category);
        EXPECT_EQ(row.GetResourceId(247), state.status);
        EXPECT_EQ(row.GetResourceId(248), state.text);
    }
    static void ExpectOnlyRow(const CStatusLog& log, const State& state) {
        ASSERT_EQ(log.GetSymbols()->GetRowCount(), 1u);
        const auto row = log.GetSymbols()->GetRow(0);
        EXPECT_THAT(Ids(*row), ElementsAre(241, 235, 242, 244, 245, 246, 247, 248));
        ExpectRow(*row, state);
        EXPECT_TRUE(log.IsValid());
    }
    static void ExpectAllIsWell(const CStatusLog& log) {
        ExpectOnlyRow(log, {1, 0x071000000000022B, 0x071000000000021E, 0xFFFFFFFFFFFFFFFF});
    }
};

TEST_F(ProtectionStatusTest, ProblemIsARowInTheOrderOfSetting) {
    const auto log = Make({Problem()});
    EXPECT_EQ(static_cast<int>(log->GetMessageType()), 10044);
    ASSERT_EQ(log->GetSymbols()->GetRowCount(), 1u);
    EXPECT_THAT(Ids(*log->GetSymbols()->GetRow(0)),
                ElementsAre(241, 235, 242, 244, 245, 246, 247, 248, 4298));
    EXPECT_TRUE(log->IsValid());
}

TEST_F(ProtectionStatusTest, RowHoldsTheValuesOfTheRecord) {
    const auto row = Make({Problem()})->GetSymbols()->GetRow(0);
    ExpectRow(*row, {3, 0x11, 0x071000000000021F, 0x22});
    EXPECT_EQ(row->GetResourceId(4298), 0x33u);
}

TEST_F(ProtectionStatusTest, NoDescriptionIsNoSymbol) {
    CProtectionStatusRecord problem = Problem(2);
    problem.descriptionId.reset();
    const auto row = Make({problem})->GetSymbols()->GetRow(0);
    EXPECT_THAT(Ids(*row), ElementsAre(241, 235, 242, 244, 245, 246, 247, 248));
}

TEST_F(ProtectionStatusTest, WhatAProblemLacksIsZero) {
    CProtectionStatusRecord problem;
    problem.status = 1;
    const auto row = Make({problem})->GetSymbols()->GetRow(0);
    EXPECT_EQ(row->GetInt64(241), 0);
    EXPECT_EQ(row->GetResourceId(246), 0u);
    EXPECT_EQ(row->GetResourceId(247), 0u);
    EXPECT_EQ(row->GetResourceId(248), 0u);
}

TEST_F(ProtectionStatusTest, OnlyProblemsAreRows) {
    const auto rows = Make({Fine(), Problem(1), NotAvailable(), Problem(2), Fine()})->GetSymbols();
    EXPECT_EQ(rows->GetRowCount(), 2u);
}

TEST_F(ProtectionStatusTest, RowsKeepTheOrderOfTheRecords) {
    CProtectionStatusRecord worse = Problem(2);
    worse.severity = 5;
    const auto rows = Make({worse, Problem(1)})->GetSymbols();
    EXPECT_EQ(rows->GetRow(0)->GetInt64(241), 5);
    EXPECT_EQ(rows->GetRow(1)->GetInt64(241), 3);
}

TEST_F(ProtectionStatusTest, NoRecordsAreOneRowThatSaysAllIsWell) {
    ExpectAllIsWell(*Make({}));
}

TEST_F(ProtectionStatusTest, FineRecordsAreOneRowThatSaysAllIsWell) {
    ExpectAllIsWell(*Make({Fine(), Fine()}));
}

TEST_F(ProtectionStatusTest, RecordsThatAreNotAvailableAreOneRowThatSaysAllIsWell) {
    ExpectAllIsWell(*Make({NotAvailable(), Fine()}));
}

TEST_F(ProtectionStatusTest, ConnectedIsOneRowThatSaysAllIsWell) {
    const auto log = MakeConnectedStatus(reporter);
    EXPECT_EQ(static_cast<int>(log->GetMessageType()), 10044);
    EXPECT_TRUE(log->IsReadOnly());
    ExpectAllIsWell(*log);
}

TEST_F(ProtectionStatusTest, FailedConnectionIsOneRowThatSaysSo) {
    const auto log = MakeConnectFailureStatus(reporter);
    EXPECT_EQ(static_cast<int>(log->GetMessageType()), 10044);
    EXPECT_TRUE(log->IsReadOnly());
    ExpectOnlyRow(*log, {6, 0x071000000000022B, 0x0710000000000221, 0x00000001000000B3});
}

TEST_F(ProtectionStatusTest, NegativeProductTypeKeepsItsSign) {
    reporter.productType = -2;
    EXPECT_EQ(Make({Problem()})->GetSymbols()->GetRow(0)->GetInt64(244), -2);
    EXPECT_EQ(Make({})->GetSymbols()->GetRow(0)->GetInt64(244), -2);
}

TEST_F(ProtectionStatusTest, LogAndRowsAreReadOnly) {
    const auto log = Make({Problem()});
    EXPECT_TRUE(log->IsReadOnly());
    EXPECT_EQ(ThrownText([&] { log->GetSymbols()->GetRow(0)->AddInt32(1, 1); }),
              "Cannot add symbol 1: container is locked");
}

TEST_F(ProtectionStatusTest, InstanceThatIsNoUuidIsRefused) {
    reporter.instanceUuid = "nobody";
    EXPECT_EQ(ThrownText([this] { Make({}); }), "invalid uuid string");
    EXPECT_EQ(ThrownText([this] { MakeConnectFailureStatus(reporter); }), "invalid uuid string");
}

}  // namespace
}  // namespace Kyr::Connectors::Common
