#include <gmock/gmock.h>

#include "lab/runner/Figures.h"

namespace Kyr::Lab::Runner {
namespace {

using namespace testing;

class FigureCounterTest : public ::testing::Test {
  protected:
    void Log(const char* level, const std::string& text) {
        counter_.Event(CLine("log").With("level", level).With("text", text));
    }
    void Tally(const char* kind, const char* stored, const char* twice, const char* lost) {
        counter_.Event(CLine("tally")
                           .With("kind", kind)
                           .With("stored", stored)
                           .With("twice", twice)
                           .With("lost", lost));
    }

    CFigureCounter counter_;
};

TEST_F(FigureCounterTest, PingsAreNoRequests) {
    counter_.Event(CLine("request").With("command", "0"));
    counter_.Event(CLine("request").With("command", "3").With("name", "status"));
    counter_.Event(CLine("request").With("command", "3").With("name", "status"));
    EXPECT_EQ(counter_.Sum().requests, 2u);
    EXPECT_EQ(counter_.Sum().pings, 1u);
}

TEST_F(FigureCounterTest, ReconnectionIsARetry) {
    Log("2", "Connected to product, processing tasks");
    Log("2", "Reconnecting to product");
    EXPECT_EQ(counter_.Sum().connections, 1u);
    EXPECT_EQ(counter_.Sum().reconnections, 1u);
    EXPECT_EQ(counter_.Sum().Retries(), 1u);
}

TEST_F(FigureCounterTest, ReconnectionThatFailedIsNone) {
    Log("2", "Reconnecting to product");
    Log("4", "Starting TULK OVANTA Connector connector module failed with: it is gone");
    Log("2", "Reconnecting to product");
    EXPECT_EQ(counter_.Sum().reconnections, 1u);
}

TEST_F(FigureCounterTest, FirstConnectionThatFailedTakesNothingAway) {
    Log("4", "Starting TULK OVANTA Connector connector module failed with: it is gone");
    EXPECT_EQ(counter_.Sum().reconnections, 0u);
}

TEST_F(FigureCounterTest, FirstConnectionOfTheNextHostThatFailedTakesNothingAway) {
    Log("2", "Connecting to product");
    Log("2", "Reconnecting to product");
    Log("2", "Connecting to product");
    Log("4", "Starting TULK OVANTA Connector connector module failed with: it is gone");
    EXPECT_EQ(counter_.Sum().reconnections, 1u);
}

TEST_F(FigureCounterTest, MessageThatIsGivenUpWasTriedAgainOnce) {
    Log("2", "Reconnecting to product");
    Log("2", "Reconnecting to product");
    Log("4",
        "Message task was canceled because maximum retry count was reached, message was: "
        "KillProcessByPid");
    EXPECT_EQ(counter_.Sum().givenUp, 1u);
    EXPECT_EQ(counter_.Sum().Retries(), 1u);
}

TEST_F(FigureCounterTest, WithoutTheHostsCountNothingIsSaidOfLostRecords) {
    counter_.Event(CLine("mined").With("records", "100"));
    counter_.Event(CLine("mined").With("records", "50"));
    EXPECT_EQ(counter_.Sum().records, 150u);
    EXPECT_THAT(Rows(counter_.Sum()), Not(Contains(Key("Records lost"))));
}

TEST_F(FigureCounterTest, HostsLatestCountHolds) {
    counter_.Event(CLine("mined").With("records", "150"));
    Tally("indicator", "100", "0", "50");
    Tally("indicator", "152", "2", "1");
    Tally("action", "3", "0", "4");
    EXPECT_THAT(Rows(counter_.Sum()), Contains(Pair("Records stored", "155")));
    EXPECT_THAT(Rows(counter_.Sum()), Contains(Pair("Records stored twice", "2")));
    EXPECT_THAT(Rows(counter_.Sum()), Contains(Pair("Records lost", "5")));
}

TEST(Figures, ScenariosAddUpAndOneThatCountedMakesTheSumCounted) {
    const Figures each{1, 2, 3, 10, 4, 6, true, 7, 8};
    Figures sum;
    sum += each;
    sum += each;
    sum += Figures();
    std::string counts;
    for (const auto& row : Rows(sum)) {
        counts += row.second + " ";
    }
    EXPECT_EQ(counts, "2 4 6 20 12 8 12 14 16 ");
}

}  // namespace
}  // namespace Kyr::Lab::Runner
