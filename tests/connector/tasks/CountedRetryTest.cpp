#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

#include <boost/thread/exceptions.hpp>

#include "connector/tasks/CountedRetry.h"

namespace Kyr::Connectors::Common {
namespace {

/// The retry that the failure of a task becomes.
template <typename Failure>
CRetryException RetryAfter(const Failure& failure) {
    try {
        WithCountedRetry([&] { throw failure; });
    } catch (const CRetryException& retry) {
        return retry;
    }
    return CRetryException("no CRetryException was thrown", true);
}

TEST(CountedRetryTest, WorkThatSucceedsIsDone) {
    int runs = 0;
    EXPECT_NO_THROW(WithCountedRetry([&] { ++runs; }));
    EXPECT_EQ(runs, 1);
}

TEST(CountedRetryTest, FailureIsACountedRetryWithItsText) {
    const CRetryException retry = RetryAfter(std::runtime_error("bus is down"));
    EXPECT_STREQ(retry.what(), "bus is down");
    EXPECT_FALSE(retry.IsRestartNeeded());
}

TEST(CountedRetryTest, ClassOfTheFailureDoesNotMatter) {
    EXPECT_FALSE(RetryAfter(std::bad_alloc()).IsRestartNeeded());
    EXPECT_FALSE(RetryAfter(CRestartNeededException("restart")).IsRestartNeeded());
}

TEST(CountedRetryTest, UncountedRetryIsCountedFromHereOn) {
    const CRetryException retry = RetryAfter(CRetryException("again", true));
    EXPECT_STREQ(retry.what(), "again");
    EXPECT_FALSE(retry.IsRestartNeeded());
}

TEST(CountedRetryTest, InterruptionPasses) {
    EXPECT_THROW(WithCountedRetry([] { throw boost::thread_interrupted(); }),
                 boost::thread_interrupted);
}

}  // namespace
}  // namespace Kyr::Connectors::Common
