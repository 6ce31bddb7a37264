#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

#include "base/Mutex.h"
#include "probe/session/TimeLimit.h"

namespace Kyr::Probe {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLong{60000};

TEST(TimeLimitTest, WorkThatEndsHasEnded) {
    const auto done = std::make_shared<bool>(false);
    EXPECT_TRUE(EndsWithin(kLong, [done] { *done = true; }));
    EXPECT_TRUE(*done);
}

TEST(TimeLimitTest, WhatWorkThrowsIsThrown) {
    EXPECT_THROW(EndsWithin(kLong, [] { throw std::out_of_range("far"); }), std::out_of_range);
}

TEST(TimeLimitTest, WorkThatEndedHoldsNothing) {
    const auto held = std::make_shared<int>(1);
    EXPECT_TRUE(EndsWithin(kLong, [held] {}));
    EXPECT_EQ(held.use_count(), 1);
}

TEST(TimeLimitTest, WorkThatDoesNotEndIsLeftBehind) {
    struct Gate {
        Base::CMutex mutex;
        Base::CCondition opened;
        bool isOpen = false;
        bool wasPassed = false;
    };
    const auto gate = std::make_shared<Gate>();
    EXPECT_FALSE(EndsWithin(milliseconds(1), [gate] {
        Base::CLock lock(gate->mutex);
        while (!gate->isOpen) {
            gate->opened.Wait(lock);
        }
        gate->wasPassed = true;
        gate->opened.NotifyAll();
    }));
    EXPECT_TRUE(IsWorkLeftBehind());
    // It goes on, and can end: the process must not, before it does.
    Base::CLock lock(gate->mutex);
    gate->isOpen = true;
    gate->opened.NotifyAll();
    while (!gate->wasPassed) {
        gate->opened.Wait(lock);
    }
}

}  // namespace
}  // namespace Kyr::Probe
