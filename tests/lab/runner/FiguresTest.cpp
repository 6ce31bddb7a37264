#include <gmock/gmock.h>

#include "lab/runner/Figures.h"

namespace Kyr::Lab::Runner {
namespace {

using namespace testing;

const std::string kAgain = "log level=2 text=\"Reconnecting to product\"";
const std::string kLooks = "log level=2 text=\"Connecting to product\"";
const std::string kFailed =
    "log level=4 text=\"Starting TULK OVANTA Connector connector module failed with: it is gone\"";

std::vector<std::pair<std::string, std::string>> RowsOf(const std::vector<std::string>& told) {
    CFigureCounter counter;
    for (const std::string& line : told) {
        counter.Event(ParseLine("00:00:00.000 " + line).line);
    }
    return Rows(counter.Sum());
}

TEST(FigureCounterTest, WhatIsToldIsCountedAsWhatItMeans) {
    const struct {
        const char* situation;
        std::vector<std::string> told;
        std::vector<std::pair<std::string, std::string>> rows;
    } rows[] = {
        {"pings are no requests",
         {"request command=0", "request command=3 name=status", "request command=3 name=status"},
         {{"Requests to the product", "2"}, {"Pings", "1"}}},
        {"a reconnection is a retry",
         {"log level=2 text=\"Connected to product, processing tasks\"", kAgain},
         {{"Connections", "1"}, {"Reconnections", "1"}, {"Messages tried again", "1"}}},
        {"one that failed is none", {kAgain, kFailed, kAgain}, {{"Reconnections", "1"}}},
        {"a first connection that failed takes nothing away", {kFailed}, {{"Reconnections", "0"}}},
        {"nor does that of the next host",
         {kLooks, kAgain, kLooks, kFailed},
         {{"Reconnections", "1"}}},
        {"a message that is given up was tried again once",
         {kAgain, kAgain,
          "log level=4 text=\"Message task was canceled because maximum retry count was reached, "
          "message was: KillProcessByPid\""},
         {{"Messages given up", "1"}, {"Messages tried again", "1"}}},
        {"records are those of all batches",
         {"mined records=100", "mined records=50"},
         {{"Records stored", "150"}}},
        {"the host's latest count holds",
         {"mined records=150", "tally kind=indicator stored=100 twice=0 lost=50",
          "tally kind=indicator stored=152 twice=2 lost=1",
          "tally kind=action stored=3 twice=0 lost=4"},
         {{"Records stored", "155"}, {"Records stored twice", "2"}, {"Records lost", "5"}}},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(RowsOf(row.told), IsSupersetOf(row.rows)) << row.situation;
    }
}

TEST(FigureCounterTest, WithoutTheHostsCountNothingIsSaidOfLostRecords) {
    EXPECT_THAT(RowsOf({"mined records=100"}), Not(Contains(Key("Records lost"))));
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
