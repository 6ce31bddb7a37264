#include <gmock/gmock.h>

#include "lab/runner/Figures.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

/// Each figure another one.
Figures Some() {
    Figures figures;
    figures.requests = 1;
    figures.pings = 2;
    figures.connections = 3;
    figures.reconnections = 10;
    figures.givenUp = 4;
    figures.records = 6;
    figures.counted = true;
    figures.twice = 7;
    figures.lost = 8;
    return figures;
}

TEST(Figures, ScenariosAddUp) {
    Figures sum = Some();
    sum += Some();
    EXPECT_THAT(Rows(sum),
                ElementsAre(Pair("Requests to the product", "2"), Pair("Pings", "4"),
                            Pair("Connections", "6"), Pair("Reconnections", "20"),
                            Pair("Messages tried again", "12"), Pair("Messages given up", "8"),
                            Pair("Records stored", "12"), Pair("Records stored twice", "14"),
                            Pair("Records lost", "16")));
}

TEST(Figures, OneScenarioThatCountedMakesTheSumCounted) {
    Figures sum;
    sum += Some();
    sum += Figures();
    EXPECT_TRUE(sum.counted);
}

}  // namespace
}  // namespace Kyr::Lab::Runner
