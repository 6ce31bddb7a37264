#include <gmock/gmock.h>

#include "lab/runner/Figures.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::Contains;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;

class FiguresTest : public ::testing::Test {
  protected:
    void Log(const char* level, const std::string& text) {
        figures_.Event(CLine("log").With("level", level).With("text", text));
    }
    void Tally(const char* kind, const char* stored, const char* twice, const char* lost) {
        figures_.Event(CLine("tally")
                           .With("kind", kind)
                           .With("stored", stored)
                           .With("twice", twice)
                           .With("lost", lost));
    }

    CFigures figures_;
};

TEST_F(FiguresTest, PingsAreNoRequests) {
    figures_.Event(CLine("request").With("command", "0"));
    figures_.Event(CLine("request").With("command", "3").With("name", "status"));
    figures_.Event(CLine("request").With("command", "3").With("name", "status"));
    EXPECT_EQ(figures_.Sum().requests, 2u);
    EXPECT_EQ(figures_.Sum().pings, 1u);
}

TEST_F(FiguresTest, ReconnectionIsARetry) {
    Log("2", "Connected to product, processing tasks");
    Log("2", "Reconnecting to product");
    EXPECT_EQ(figures_.Sum().connections, 1u);
    EXPECT_EQ(figures_.Sum().reconnections, 1u);
    EXPECT_EQ(figures_.Sum().Retries(), 1u);
}

TEST_F(FiguresTest, ReconnectionThatFailedIsNone) {
    Log("2", "Reconnecting to product");
    Log("4", "Starting TULK OVANTA Connector connector module failed with: it is gone");
    Log("2", "Reconnecting to product");
    EXPECT_EQ(figures_.Sum().reconnections, 1u);
}

TEST_F(FiguresTest, FirstConnectionThatFailedTakesNothingAway) {
    Log("4", "Starting TULK OVANTA Connector connector module failed with: it is gone");
    EXPECT_EQ(figures_.Sum().reconnections, 0u);
}

TEST_F(FiguresTest, MessageThatIsGivenUpWasTriedAgainOnce) {
    Log("2", "Reconnecting to product");
    Log("2", "Reconnecting to product");
    Log("4",
        "Message task was canceled because maximum retry count was reached, message was: "
        "KillProcessByPid");
    EXPECT_EQ(figures_.Sum().givenUp, 1u);
    EXPECT_EQ(figures_.Sum().Retries(), 1u);
}

TEST_F(FiguresTest, WithoutTheHostsCountNothingIsSaidOfLostRecords) {
    figures_.Event(CLine("mined").With("records", "100"));
    figures_.Event(CLine("mined").With("records", "50"));
    EXPECT_EQ(figures_.Sum().records, 150u);
    EXPECT_THAT(Rows(figures_.Sum()), Not(Contains(Key("Records lost"))));
}

TEST_F(FiguresTest, HostsLatestCountHolds) {
    figures_.Event(CLine("mined").With("records", "150"));
    Tally("indicator", "100", "0", "50");
    Tally("indicator", "152", "2", "1");
    Tally("action", "3", "0", "4");
    EXPECT_THAT(Rows(figures_.Sum()), Contains(Pair("Records stored", "155")));
    EXPECT_THAT(Rows(figures_.Sum()), Contains(Pair("Records stored twice", "2")));
    EXPECT_THAT(Rows(figures_.Sum()), Contains(Pair("Records lost", "5")));
}

TEST_F(FiguresTest, ScenariosAddUp) {
    Figures sum;
    figures_.Event(CLine("request").With("command", "3"));
    Log("2", "Connected to product, processing tasks");
    Tally("indicator", "10", "1", "2");
    sum += figures_.Sum();
    sum += figures_.Sum();
    EXPECT_EQ(sum.requests, 2u);
    EXPECT_EQ(sum.connections, 2u);
    EXPECT_EQ(sum.records, 20u);
    EXPECT_EQ(sum.twice, 2u);
    EXPECT_EQ(sum.lost, 4u);
    EXPECT_TRUE(sum.counted);
}

}  // namespace
}  // namespace Kyr::Lab::Runner
