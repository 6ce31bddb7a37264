// Buses with one fault each.
#include <gmock/gmock.h>

#include "tests/hostprobe/ProbedHost.h"

namespace Kyr::Test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST_F(HostProbeTest, FaultOfTheBusIsNamed) {
    struct Row {
        BusFault fault;
        const char* point;
    };
    constexpr Row kRows[] = {
        {BusFault::kDeliversTwice, "bus-once"},     {BusFault::kLosesContext, "bus-contexts"},
        {BusFault::kOneContext, "bus-contexts"},    {BusFault::kDeliversInside, "bus-thread"},
        {BusFault::kDeliversAllTypes, "bus-types"}, {BusFault::kThrows, "bus-delivery"},
    };
    for (const Row& row : kRows) {
        const std::size_t before = Wrong().size();
        SetBus(row.fault);
        Examine();
        ASSERT_EQ(Wrong().size(), before + 1) << Told();
        EXPECT_EQ(Wrong().back(), row.point);
    }
}

TEST_F(HostProbeTest, BusThatTurnsTwoMessagesRoundIsNamed) {
    SetBus(BusFault::kTurnsOnePair);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("bus-order")) << Told();
}

TEST_F(HostProbeTest, BusThatDeliversNothingIsNamedAndTheRestNotTried) {
    SetBus(BusFault::kDeliversNothing);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("bus-delivery"));
    EXPECT_THAT(Points("not tried"), ElementsAre("bus-order", "bus-contexts", "bus-thread",
                                                 "bus-survives", "bus-once", "bus-types"));
}

TEST_F(HostProbeTest, BusThatCopiesMessagesIsNamed) {
    SetBus(BusFault::kCopies);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("bus-delivery"));
    EXPECT_THAT(Told(), HasSubstr("another object comes than was published"));
}

TEST_F(HostProbeTest, BusThatEndsAtAnExceptionIsNamed) {
    SetBus(BusFault::kEndsAtException);
    Examine();
    EXPECT_THAT(Wrong(), ElementsAre("bus-survives")) << Told();
}

}  // namespace
}  // namespace Kyr::Test
