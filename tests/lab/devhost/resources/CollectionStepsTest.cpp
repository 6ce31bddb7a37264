#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/resources/CollectionSteps.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CCollectionSteps;
using Lab::DevHost::ParseDeathWish;

/// How far two collections come, one after the other: the place at which they die, from 1 to 12, or
/// 0 when they do not.
int PlaceOfDeath(const std::string& wish) {
    int place = 0;
    int death = 0;
    CCollectionSteps steps(ParseDeathWish(wish), [&] { death = place; });
    for (int collection = 0; collection < 2; ++collection) {
        ++place;
        steps.OffsetRead();
        ++place;
        steps.RecordsCame();
        ++place;
        steps.RecordsStored();
        ++place;
        steps.OffsetRead();  // to add to it
        ++place;
        steps.OffsetCame();
        ++place;
        steps.OffsetStored();
    }
    return death;
}

TEST(CollectionStepsTest, EachStepHasItsPlace) {
    EXPECT_EQ(1, PlaceOfDeath("before-request"));
    EXPECT_EQ(2, PlaceOfDeath("after-reply"));
    EXPECT_EQ(3, PlaceOfDeath("after-publish"));
    EXPECT_EQ(5, PlaceOfDeath("before-offset"));
    EXPECT_EQ(6, PlaceOfDeath("after-offset"));
}

TEST(CollectionStepsTest, CountSaysWhichCollection) {
    EXPECT_EQ(7, PlaceOfDeath("before-request:2"));
    EXPECT_EQ(12, PlaceOfDeath("after-offset:2"));
    EXPECT_EQ(0, PlaceOfDeath("after-offset:3"));
}

TEST(CollectionStepsTest, WithoutAWishNobodyDies) {
    CCollectionSteps steps(std::nullopt, [] { FAIL() << "dead"; });
    steps.OffsetRead();
    steps.RecordsCame();
}

TEST(CollectionStepsTest, UnknownStepIsRefused) {
    try {
        ParseDeathWish("after-lunch");
        FAIL() << "no exception";
    } catch (const std::invalid_argument& problem) {
        EXPECT_STREQ(problem.what(),
                     "no such step: after-lunch; there are before-request, after-reply, "
                     "after-publish, before-offset, after-offset");
    }
    EXPECT_THROW(ParseDeathWish("after-reply:"), std::invalid_argument);
    EXPECT_THROW(ParseDeathWish(""), std::invalid_argument);
}

}  // namespace
}  // namespace Kyr::Test
