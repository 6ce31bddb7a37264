#include <gmock/gmock.h>

#include "probe/doctor/AreaSnapshot.h"
#include "tests/support/system/ScriptedNative.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;

constexpr std::chrono::milliseconds kPatience{500};

class AreaSnapshotTest : public testing::Test {
  protected:
    AreaSnapshotTest() { native_.area.bytes = {1, 2, 3, 4}; }

    ~AreaSnapshotTest() override {
        EXPECT_EQ(native_.CountLive(), 0u);
        EXPECT_TRUE(native_.Misuses().empty());
    }

    AreaSnapshot Take() { return TakeAreaSnapshot(native_.GetFunctions(), kPatience); }

    Kyr::Test::CScriptedNative native_;
};

TEST_F(AreaSnapshotTest, HoldsTheBytesAndGivesTheMutexBack) {
    const AreaSnapshot snapshot = Take();
    EXPECT_EQ(snapshot.mutex, MutexState::kFree);
    EXPECT_TRUE(snapshot.hasSection);
    EXPECT_EQ(snapshot.image, "\x01\x02\x03\x04");
    EXPECT_EQ(native_.area.releasedMutexes, 1u);
    EXPECT_THAT(native_.area.mutexTimeouts, ElementsAre(500u));
}

TEST_F(AreaSnapshotTest, AbandonedMutexIsGivenBackToo) {
    native_.area.mutexWait = NtApi::kWaitAbandoned;
    EXPECT_EQ(Take().mutex, MutexState::kAbandoned);
    EXPECT_EQ(native_.area.releasedMutexes, 1u);
}

TEST_F(AreaSnapshotTest, HeldMutexIsNotGivenBackAndTheBytesAreReadAllTheSame) {
    native_.area.mutexWait = NtApi::kWaitTimeout;
    const AreaSnapshot snapshot = Take();
    EXPECT_EQ(snapshot.mutex, MutexState::kHeld);
    EXPECT_EQ(snapshot.image.size(), 4u);
    EXPECT_EQ(native_.area.releasedMutexes, 0u);
}

TEST_F(AreaSnapshotTest, WithoutAMutexTheBytesAreRead) {
    native_.Fail("OpenMutexW");
    const AreaSnapshot snapshot = Take();
    EXPECT_EQ(snapshot.mutex, MutexState::kAbsent);
    EXPECT_EQ(snapshot.image.size(), 4u);
}

TEST_F(AreaSnapshotTest, WithoutASectionThereIsNone) {
    native_.Fail("OpenFileMappingW");
    EXPECT_FALSE(Take().hasSection);
}

TEST_F(AreaSnapshotTest, SectionThatCannotBeMappedOrMeasuredHasNoBytes) {
    native_.Fail("MapViewOfFile", 1);
    EXPECT_EQ(Take().image, "");
    native_.Fail("VirtualQuery", 1);
    const AreaSnapshot snapshot = Take();
    EXPECT_TRUE(snapshot.hasSection);
    EXPECT_EQ(snapshot.image, "");
}

}  // namespace
}  // namespace Kyr::Probe
