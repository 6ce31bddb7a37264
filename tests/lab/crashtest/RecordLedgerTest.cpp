#include <gtest/gtest.h>

#include "lab/crashtest/RecordLedger.h"

namespace Kyr::Lab::CrashTest {
namespace {

class RecordLedgerTest : public ::testing::Test {
  protected:
    RecordLedgerTest() {
        for (const char* record : {"one", "two", "three", "four", "five", "six"}) {
            ledger_.Expect(record);
        }
    }

    CRecordLedger ledger_{3};
};

TEST_F(RecordLedgerTest, LifeThatGoesOnWhereTheOffsetSaidIsRight) {
    EXPECT_EQ(std::nullopt, ledger_.CloseLife({"one", "two", "three"}, 3));
    EXPECT_EQ(std::nullopt, ledger_.CloseLife({"four", "five"}, 5));
    EXPECT_EQ(5u, ledger_.Stored());
    EXPECT_EQ(0u, ledger_.Twice());
    EXPECT_EQ(5u, ledger_.Highest());
    EXPECT_EQ(0u, ledger_.BatchesInFlight());
}

TEST_F(RecordLedgerTest, BatchThatGoesOutAgainOrBehindAGapIsNotCounted) {
    ledger_.HandOut(2, 4);
    EXPECT_EQ(0u, ledger_.Sent());
    ledger_.HandOut(1, 3);
    ledger_.HandOut(3, 2);
    ledger_.HandOut(1, 2);
    EXPECT_EQ(4u, ledger_.Sent());
}

TEST_F(RecordLedgerTest, LifeWithoutRecordsIsRight) {
    EXPECT_EQ(std::nullopt, ledger_.CloseLife({}, 0));
}

TEST_F(RecordLedgerTest, BatchWithoutItsOffsetComesTwice) {
    EXPECT_EQ(std::nullopt, ledger_.CloseLife({"one", "two", "three", "four", "five"}, 3));
    EXPECT_EQ(1u, ledger_.BatchesInFlight());
    EXPECT_EQ(std::nullopt, ledger_.CloseLife({"four", "five", "six"}, 6));
    EXPECT_EQ(8u, ledger_.Stored());
    EXPECT_EQ(2u, ledger_.Twice());
    EXPECT_EQ(6u, ledger_.Highest());
}

TEST_F(RecordLedgerTest, RecordThatWasSkippedIsWrong) {
    EXPECT_EQ("record 3 came where 2 was due", ledger_.CloseLife({"one", "three"}, 2));
}

TEST_F(RecordLedgerTest, RecordsThatChangedPlacesAreWrong) {
    EXPECT_EQ("record 2 came where 1 was due", ledger_.CloseLife({"two", "one"}, 2));
}

TEST_F(RecordLedgerTest, RecordWithoutItsLastByteIsWrong) {
    EXPECT_EQ("a record that is none of the product's came where 2 was due",
              ledger_.CloseLife({"one", "tw"}, 2));
}

TEST_F(RecordLedgerTest, RecordThatTheProductDoesNotHaveIsWrong) {
    EXPECT_EQ("a record that is none of the product's came where 7 was due",
              ledger_.CloseLife({"one", "two", "three", "four", "five", "six", "seven"}, 6));
}

TEST_F(RecordLedgerTest, RecordThatComesAgainBehindItsOffsetIsWrong) {
    ledger_.CloseLife({"one", "two"}, 2);
    EXPECT_EQ("record 2 came where 3 was due", ledger_.CloseLife({"two"}, 2));
}

TEST_F(RecordLedgerTest, RecordThatComesTwiceInOneLifeIsWrong) {
    EXPECT_EQ("record 1 came where 2 was due", ledger_.CloseLife({"one", "one"}, 1));
}

TEST_F(RecordLedgerTest, OffsetBeyondWhatIsStoredIsWrong) {
    EXPECT_EQ("lost: the offset is 3, and the last record that came 2",
              ledger_.CloseLife({"one", "two"}, 3));
}

TEST_F(RecordLedgerTest, OffsetThatGoesBackIsWrong) {
    ledger_.CloseLife({"one", "two"}, 2);
    EXPECT_EQ("the offset went back from 2 to 1", ledger_.CloseLife({}, 1));
}

TEST_F(RecordLedgerTest, MoreThanOneBatchBeyondTheOffsetIsWrong) {
    EXPECT_EQ("4 records are stored beyond the offset; one batch is 3",
              ledger_.CloseLife({"one", "two", "three", "four"}, 0));
}

}  // namespace
}  // namespace Kyr::Lab::CrashTest
