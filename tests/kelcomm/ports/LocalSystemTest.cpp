#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kelcomm/ports/LocalSystem.h"
#include "tests/support/system/ScriptedNative.h"

namespace Kyr::Test {

namespace {

class LocalSystemTest : public testing::Test {
  protected:
    bool RunsAsLocalSystem() {
        return Connectors::Common::Kelcomm::RunsAsLocalSystem(native_.GetFunctions());
    }
    void TearDown() override {
        EXPECT_EQ(0U, native_.CountLive());
        EXPECT_THAT(native_.Misuses(), testing::IsEmpty());
    }

    CScriptedNative native_;
};

TEST_F(LocalSystemTest, EqualUserIsLocalSystem) {
    native_.process.isLocalSystem = true;
    EXPECT_TRUE(RunsAsLocalSystem());
}

TEST_F(LocalSystemTest, OtherUserIsNot) {
    EXPECT_FALSE(RunsAsLocalSystem());
}

TEST_F(LocalSystemTest, AsksForTheTokenUserAndTheWellKnownIdentifier) {
    RunsAsLocalSystem();
    EXPECT_EQ(8U, native_.process.tokenAccess);
    EXPECT_EQ(76U, native_.process.tokenBufferSize);
    EXPECT_EQ(std::vector<std::uint32_t>({0, 0, 0, 0, 0, 5}), native_.process.sidAuthority);
    EXPECT_EQ(std::vector<std::uint32_t>({1, 18, 0, 0, 0, 0, 0, 0, 0}), native_.process.sidParts);
}

TEST_F(LocalSystemTest, UnreadableTokenIsNot) {
    native_.process.isLocalSystem = true;
    for (const char* function :
         {"AllocateAndInitializeSid", "GetTokenInformation", "OpenProcessToken"}) {
        native_.Fail(function);
        EXPECT_FALSE(RunsAsLocalSystem()) << function;
    }
}

TEST_F(LocalSystemTest, UnreadableUserIsComparedWithNothing) {
    native_.Fail("GetTokenInformation");
    EXPECT_FALSE(RunsAsLocalSystem());
    EXPECT_EQ(0U, native_.CountCalls("EqualSid"));
}

TEST_F(LocalSystemTest, UserIsNotComparedWithAnIdentifierThatCouldNotBeMade) {
    native_.Fail("AllocateAndInitializeSid");
    EXPECT_FALSE(RunsAsLocalSystem());
    EXPECT_EQ(0U, native_.CountCalls("EqualSid"));
    EXPECT_EQ(0U, native_.CountCalls("FreeSid"));
}

TEST_F(LocalSystemTest, SystemWithoutTokensIsNot) {
    native_.process.isLocalSystem = true;
    for (const char* function :
         {"EqualSid", "AllocateAndInitializeSid", "GetTokenInformation", "OpenProcessToken"}) {
        native_.Remove(function);
        EXPECT_FALSE(RunsAsLocalSystem()) << function;
    }
}

}  // namespace

}  // namespace Kyr::Test
