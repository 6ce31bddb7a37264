#include <gtest/gtest.h>

#include "lab/crashtest/RecordLedger.h"

namespace Kyr::Lab::CrashTest {
namespace {

/// Of one batch of three records, and one of three more.
CRecordLedger LedgerOfSix() {
    CRecordLedger ledger(3);
    for (const char* record : {"one", "two", "three", "four", "five", "six"}) {
        ledger.Expect(record);
    }
    return ledger;
}

TEST(RecordLedgerTest, LifeThatGoesOnWhereTheOffsetSaidIsRight) {
    CRecordLedger ledger = LedgerOfSix();
    EXPECT_EQ(std::nullopt, ledger.CloseLife({}, 0));
    EXPECT_EQ(std::nullopt, ledger.CloseLife({"one", "two", "three"}, 3));
    EXPECT_EQ(std::nullopt, ledger.CloseLife({"four", "five"}, 5));
    EXPECT_EQ(5u, ledger.Counts().stored);
    EXPECT_EQ(0u, ledger.Counts().twice);
    EXPECT_EQ(5u, ledger.Highest());
    EXPECT_EQ(0u, ledger.Counts().inFlight);
}

TEST(RecordLedgerTest, BatchThatGoesOutAgainOrBehindAGapIsNotCounted) {
    CRecordLedger ledger = LedgerOfSix();
    ledger.HandOut(2, 4);
    EXPECT_EQ(0u, ledger.Counts().sent);
    ledger.HandOut(1, 3);
    ledger.HandOut(3, 2);
    ledger.HandOut(1, 2);
    EXPECT_EQ(4u, ledger.Counts().sent);
}

TEST(RecordLedgerTest, RecordsThatWentOutAndDidNotComeAreLost) {
    CRecordLedger ledger = LedgerOfSix();
    ledger.HandOut(1, 3);
    EXPECT_EQ(std::nullopt, ledger.CloseLife({"one"}, 1));
    EXPECT_EQ(2u, ledger.Counts().lost);
}

TEST(RecordLedgerTest, CountsOfSeveralWorldsAddUp) {
    RecordCounts sum{1, 2, 3, 4, 5};
    sum += {10, 20, 30, 40, 50};
    EXPECT_EQ(11u, sum.sent);
    EXPECT_EQ(22u, sum.stored);
    EXPECT_EQ(33u, sum.twice);
    EXPECT_EQ(44u, sum.lost);
    EXPECT_EQ(55u, sum.inFlight);
}

TEST(RecordLedgerTest, BatchWithoutItsOffsetComesTwice) {
    CRecordLedger ledger = LedgerOfSix();
    EXPECT_EQ(std::nullopt, ledger.CloseLife({"one", "two", "three", "four", "five"}, 3));
    EXPECT_EQ(1u, ledger.Counts().inFlight);
    EXPECT_EQ(std::nullopt, ledger.CloseLife({"four", "five", "six"}, 6));
    EXPECT_EQ(8u, ledger.Counts().stored);
    EXPECT_EQ(2u, ledger.Counts().twice);
    EXPECT_EQ(6u, ledger.Highest());
}

TEST(RecordLedgerTest, WhatDoesNotGoOnWhereItWasLeftIsWrong) {
    const struct {
        const char* situation;
        std::vector<std::string> before;  // what an earlier life stored, with its offset
        std::vector<std::string> records;
        std::uint64_t offset;
        const char* problem;
    } rows[] = {
        {"a record was skipped", {}, {"one", "three"}, 2, "record 3 came where 2 was due"},
        {"records changed places", {}, {"two", "one"}, 2, "record 2 came where 1 was due"},
        {"a record without its last byte",
         {},
         {"one", "tw"},
         2,
         "a record that is none of the product's came where 2 was due"},
        {"one that the product does not have",
         {},
         {"one", "two", "three", "four", "five", "six", "seven"},
         6,
         "a record that is none of the product's came where 7 was due"},
        {"one that comes again behind its offset",
         {"one", "two"},
         {"two"},
         2,
         "record 2 came where 3 was due"},
        {"one that comes twice in one life",
         {},
         {"one", "one"},
         1,
         "record 1 came where 2 was due"},
        {"an offset beyond what is stored",
         {},
         {"one", "two"},
         3,
         "lost: the offset is 3, and the last record that came 2"},
        {"an offset that goes back", {"one", "two"}, {}, 1, "the offset went back from 2 to 1"},
        {"more than one batch beyond the offset",
         {},
         {"one", "two", "three", "four"},
         0,
         "4 records are stored beyond the offset; one batch is 3"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.situation);
        CRecordLedger ledger = LedgerOfSix();
        EXPECT_EQ(std::nullopt, ledger.CloseLife(row.before, row.before.size()));
        EXPECT_EQ(row.problem, ledger.CloseLife(row.records, row.offset));
    }
}

}  // namespace
}  // namespace Kyr::Lab::CrashTest
