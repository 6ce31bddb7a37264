// The scripted system itself: a test that misspells a name, or a client that misuses a function,
// must not pass in silence.
#include <gmock/gmock.h>
#include <stdexcept>

#include "tests/support/system/ScriptedNative.h"

namespace Kyr::Test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ScriptedNativeTest : public testing::Test {
  protected:
    const NativeFunctions& System() const { return native_.GetFunctions(); }

    CScriptedNative native_;
};

TEST_F(ScriptedNativeTest, FunctionsThatThereAreNotAreRefused) {
    EXPECT_THROW(native_.Fail("NtConectPort"), std::invalid_argument);
    EXPECT_THROW(native_.Remove("NtConectPort"), std::invalid_argument);
    EXPECT_THROW(native_.CountCalls("NtConectPort"), std::invalid_argument);
    EXPECT_THROW(native_.CountLive("prot"), std::invalid_argument);
}

TEST_F(ScriptedNativeTest, EveryCallIsCounted) {
    System().GetTickCount();
    System().GetTickCount();
    System().SetEvent(nullptr);
    EXPECT_EQ(native_.CountCalls("GetTickCount"), 2U);
    EXPECT_EQ(native_.CountCalls("SetEvent"), 1U);
    EXPECT_EQ(native_.CountCalls("ResetEvent"), 0U);
}

TEST_F(ScriptedNativeTest, FailureComesAfterTheCallsThatWorkAndAsOftenAsAsked) {
    native_.Fail("CreateEventW", 1, 1);
    const NtApi::Handle first = System().CreateEventW(nullptr, 1, 0, nullptr);
    EXPECT_EQ(System().CreateEventW(nullptr, 1, 0, nullptr), nullptr);
    const NtApi::Handle third = System().CreateEventW(nullptr, 1, 0, nullptr);
    EXPECT_EQ(native_.CountLive(), 2U);
    System().CloseHandle(first);
    System().CloseHandle(third);
    EXPECT_EQ(native_.CountLive(), 0U);
}

TEST_F(ScriptedNativeTest, FailureOfAFunctionThatCannotFailIsAMisuse) {
    native_.Fail("GetTickCount", 1);
    System().GetTickCount();
    EXPECT_THAT(native_.Misuses(), ElementsAre("GetTickCount cannot be made to fail"));
}

TEST_F(ScriptedNativeTest, HandleThatIsClosedTwiceIsAMisuse) {
    const NtApi::Handle mutex = System().OpenMutexW(0, 0, u"M");
    System().CloseHandle(mutex);
    EXPECT_THAT(native_.Misuses(), IsEmpty());
    System().CloseHandle(mutex);
    EXPECT_THAT(native_.Misuses(), SizeIs(1));
}

TEST_F(ScriptedNativeTest, WhatIsGivenBackIsKnownByItsKindAndOrder) {
    const NtApi::Handle event = System().CreateEventW(nullptr, 1, 0, nullptr);
    const NtApi::Handle mutex = System().OpenMutexW(0, 0, u"M");
    System().CloseHandle(mutex);
    System().CloseHandle(event);
    System().CloseHandle(mutex);  // a misuse gives nothing back
    EXPECT_THAT(native_.GivenBack(), ElementsAre("mutex", "event"));
}

TEST_F(ScriptedNativeTest, WatcherSeesWhichLocksAreHeldInACall) {
    std::vector<std::size_t> counts;
    native_.OnCall([&](const std::string& function) {
        if (function == "GetTickCount") {
            counts.push_back(native_.CountHeldLocks());
            counts.push_back(native_.CountExclusiveLocks());
        }
    });
    void* lock = nullptr;
    System().GetTickCount();
    System().RtlAcquireSRWLockShared(&lock);
    System().GetTickCount();
    System().RtlReleaseSRWLockShared(&lock);
    System().RtlAcquireSRWLockExclusive(&lock);
    System().GetTickCount();
    System().RtlReleaseSRWLockExclusive(&lock);
    EXPECT_THAT(counts, ElementsAre(0U, 0U, 1U, 0U, 1U, 1U));
}

TEST_F(ScriptedNativeTest, ArgumentThatTheProtocolDoesNotUseIsAMisuse) {
    System().CloseHandle(System().OpenMutexW(0, 1, u"M"));
    System().NtAlpcDisconnectPort(nullptr, 1);
    EXPECT_THAT(native_.Misuses(),
                ElementsAre("a named object whose handle children inherit",
                            "NtAlpcDisconnectPort with flags", "use of 0, which is not open"));
}

}  // namespace

}  // namespace Kyr::Test
