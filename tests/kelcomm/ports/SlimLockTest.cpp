#include <gtest/gtest.h>

#include "kelcomm/ports/SlimLock.h"
#include "tests/support/system/ScriptedNative.h"

namespace Kyr::Test {

namespace {

using Connectors::Common::Kelcomm::CSharedLock;
using Connectors::Common::Kelcomm::CSlimLock;

TEST(SlimLockTest, SharedLockThatWasGivenBackEarlyIsNotGivenBackAgain) {
    CScriptedNative native;
    CSlimLock slim(native.GetFunctions());
    {
        CSharedLock lock(slim);
        lock.Unlock();
        EXPECT_EQ(0U, native.CountHeldLocks());
    }
    EXPECT_EQ(1U, native.CountCalls("RtlReleaseSRWLockShared"));
}

TEST(SlimLockTest, SharedLockThatWasTakenAgainIsGivenBackAtItsEnd) {
    CScriptedNative native;
    CSlimLock slim(native.GetFunctions());
    {
        CSharedLock lock(slim);
        lock.Unlock();
        lock.Lock();
        EXPECT_EQ(1U, native.CountHeldLocks());
    }
    EXPECT_EQ(0U, native.CountHeldLocks());
    EXPECT_EQ(2U, native.CountCalls("RtlReleaseSRWLockShared"));
}

}  // namespace

}  // namespace Kyr::Test
