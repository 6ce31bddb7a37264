#include <gtest/gtest.h>

#include "lab/crashtest/HandedOut.h"

namespace Kyr::Lab::CrashTest {
namespace {

class HandedOutTest : public ::testing::Test {
  protected:
    void Hand(const char* kind, std::uint64_t from, std::uint64_t records) {
        handedOut_.Take(
            CLine("handed").With("kind", kind).With("from", from).With("records", records));
    }

    CHandedOut handedOut_;
};

TEST_F(HandedOutTest, BatchesAreAddedUpByKind) {
    Hand("indicator", 1, 5);
    Hand("indicator", 6, 2);
    Hand("action", 1, 1);
    EXPECT_EQ(7u, handedOut_.Count("indicator"));
    EXPECT_EQ(1u, handedOut_.Count("action"));
    EXPECT_EQ(0u, handedOut_.Count("telemetry"));
    EXPECT_EQ(3u, handedOut_.Batches());
}

TEST_F(HandedOutTest, BatchThatGoesOutAgainCountsOnce) {
    Hand("indicator", 1, 5);
    Hand("indicator", 3, 5);
    Hand("indicator", 1, 2);
    EXPECT_EQ(7u, handedOut_.Count("indicator"));
}

TEST_F(HandedOutTest, BatchBehindAGapIsNotCounted) {
    Hand("indicator", 2, 5);
    EXPECT_EQ(0u, handedOut_.Count("indicator"));
}

TEST_F(HandedOutTest, OtherEventsAreNotCounted) {
    handedOut_.Take(CLine("request").With("kind", "indicator"));
    EXPECT_EQ(0u, handedOut_.Batches());
}

TEST_F(HandedOutTest, WaitingEndsWithTheNextBatch) {
    Hand("indicator", 1, 5);
    EXPECT_TRUE(handedOut_.AwaitBeyond(0));
}

}  // namespace
}  // namespace Kyr::Lab::CrashTest
