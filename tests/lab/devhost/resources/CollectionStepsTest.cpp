#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/resources/CollectionSteps.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CCollectionSteps;
using Lab::DevHost::CollectionStep;
using Lab::DevHost::ParseDeathWish;

/// How far two collections come, one after the other: the place at which they die, from 1 to 12, or
/// 0 when they do not.
int PlaceOfDeath(const std::string& wish) {
    int place = 0;
    int death = 0;
    CCollectionSteps steps(ParseDeathWish(wish), [&] { death = place; });
    for (int collection = 0; collection < 2; ++collection) {
        for (const CollectionStep step :
             {CollectionStep::kBeforeRequest, CollectionStep::kAfterReply,
              CollectionStep::kAfterPublish, CollectionStep::kBeforeRequest,  // to add to it
              CollectionStep::kBeforeOffset, CollectionStep::kAfterOffset}) {
            ++place;
            steps.Pass(step);
        }
    }
    return death;
}

TEST(CollectionStepsTest, EachStepHasItsPlaceAndACountSaysInWhichCollection) {
    const struct {
        const char* wish;
        int place;
    } kRows[] = {
        {"before-request", 1},  {"after-reply", 2},    {"after-publish", 3},
        {"before-offset", 5},   {"after-offset", 6},   {"before-request:2", 7},
        {"after-offset:2", 12}, {"after-offset:3", 0},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(row.place, PlaceOfDeath(row.wish)) << row.wish;
    }
}

TEST(CollectionStepsTest, WithoutAWishNobodyDies) {
    CCollectionSteps steps(std::nullopt, [] { FAIL() << "dead"; });
    steps.Pass(CollectionStep::kBeforeRequest);
}

TEST(CollectionStepsTest, UnknownStepIsRefused) {
    for (const char* wish : {"after-lunch", "after-reply:", ""}) {
        EXPECT_THROW(ParseDeathWish(wish), std::invalid_argument) << wish;
    }
    EXPECT_EQ(ThrownText<std::invalid_argument>([] { ParseDeathWish("after-lunch:2"); }),
              "no such step: \"after-lunch\"; there are before-request, after-reply, "
              "after-publish, before-offset, after-offset");
}

}  // namespace
}  // namespace Kyr::Test
