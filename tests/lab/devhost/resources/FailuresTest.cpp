#include <gtest/gtest.h>

#include "lab/devhost/resources/Failures.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::Failure;

TEST(FailuresTest, FaultWithoutACountIsMetHoweverOftenAndNotOnceItIsMended) {
    Lab::DevHost::CFailures failures([](const Lab::CLine&) {});
    failures.Add(Failure::kPublish, {});
    for (int time = 0; time < 100; ++time) {
        ASSERT_TRUE(failures.Take(Failure::kPublish, "message")) << time;
    }
    failures.Mend(Failure::kPublish);
    EXPECT_FALSE(failures.Take(Failure::kPublish, "message"));
}

}  // namespace
}  // namespace Kyr::Test
