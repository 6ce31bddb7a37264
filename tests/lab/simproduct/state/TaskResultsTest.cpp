#include <gtest/gtest.h>

#include "lab/simproduct/state/TaskResults.h"

namespace Kyr::Lab::SimProduct {
namespace {

TEST(TaskResultsTest, OldestIsHandedOutFirstAndOnce) {
    CTaskResults results;
    results.Add({kTaskDone, "first"});
    results.Add({kTaskFailed, "second"});

    EXPECT_EQ("first", results.Take()->userData);
    EXPECT_EQ("second", results.Take()->userData);
    EXPECT_FALSE(results.Take());
}

TEST(TaskResultsTest, ListLeavesThemWaiting) {
    CTaskResults results;
    results.Add({kTaskDone, "first"});

    ASSERT_EQ(1u, results.List().size());
    EXPECT_EQ("first", results.List()[0].userData);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
