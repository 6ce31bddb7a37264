#include <optional>

#include "kelcomm/OvAgentChannel.h"
#include "kelcomm/native/NativeFunctions.h"
#include "tests/kelcomm/ChannelFixture.h"
#include "tests/support/ThrownText.h"
#include "tests/support/VirtualSlot.h"
#include "tests/support/system/ScriptedNative.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using namespace Test;

/// A channel whose product publishes the values 1000 to 1009 and no module.
class OvAgentChannelTest : public Test::ChannelFixture {
  protected:
    OvAgentChannelTest() {
        const std::uint32_t offsets[] = {24, 28, 32, 36, 40, 52, 56, 60, 64, 68};
        for (std::uint32_t i = 0; i < 10; ++i) {
            SetWord(offsets[i], 1000 + i);
        }
        clock_->SetAutomaticSleep(true);
        channel_.emplace(AlpcClient(), LpcClient(), clock_);
    }

    std::string BroadcastFailure(std::int32_t index) {
        return ThrownText([&] { channel_->GetBroadcast(index); });
    }

    const boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    std::optional<COvAgentChannel> channel_;
};

TEST_F(OvAgentChannelTest, SlotsAreThoseOfTheChannelInterface) {
    EXPECT_EQ(VirtualSlot(&COvAgentChannel::Start, 0), 0);
    EXPECT_EQ(VirtualSlot(&COvAgentChannel::Send, 0), 1);
    EXPECT_EQ(VirtualSlot(&COvAgentChannel::SetBufferReceiver, 0), 2);
    EXPECT_EQ(VirtualSlot(&COvAgentChannel::Stop, 0), 3);
    EXPECT_EQ(VirtualSlot(&COvAgentChannel::HasBroadcastChanged), -1);
}

// Broadcast values.

TEST_F(OvAgentChannelTest, Values0To9StandAtTheirPlaces) {
    for (std::int32_t index = 0; index < 10; ++index) {
        EXPECT_EQ(channel_->GetBroadcast(index), 1000 + index);
    }
}

TEST_F(OvAgentChannelTest, ValuesAreSigned) {
    SetWord(24, 0x80000000);
    EXPECT_EQ(channel_->GetBroadcast(0), -2147483647 - 1);
}

TEST_F(OvAgentChannelTest, ValuesComeFromTheNonLegacyClient) {
    channel_->GetBroadcast(0);
    EXPECT_EQ(alpc_->seenBroadcastOffsets, (std::vector<std::uint32_t>{24}));
    EXPECT_TRUE(lpc_->seenBroadcastOffsets.empty());
}

TEST_F(OvAgentChannelTest, AfterTheFallBackValuesComeFromTheLegacyClient) {
    alpc_->standingPing.code = 1;
    channel_->GetBroadcast(0);
    EXPECT_TRUE(alpc_->seenBroadcastOffsets.empty());
    EXPECT_EQ(lpc_->seenBroadcastOffsets, (std::vector<std::uint32_t>{24}));
}

TEST_F(OvAgentChannelTest, FirstCallPingsAndLaterCallsDoNot) {
    channel_->GetBroadcast(0);
    channel_->GetBroadcast(1);
    EXPECT_EQ(alpc_->seenPings.size(), 1u);
}

TEST_F(OvAgentChannelTest, PingedChannelIsNotPingedAgain) {
    channel_->Start();
    channel_->GetBroadcast(0);
    EXPECT_EQ(alpc_->seenPings.size(), 1u);
}

TEST_F(OvAgentChannelTest, FailedPingFailsTheFirstCallOnly) {
    alpc_->standingPing.code = lpc_->standingPing.code = 1;
    EXPECT_EQ(BroadcastFailure(0),
              "CKelcommChannel::GetBroadcast: Ping (CCCOMM_PING) failed with 1, Legacy ping "
              "(CCCOMM_PING) failed with 1");
    EXPECT_EQ(channel_->GetBroadcast(0), 1000);
}

TEST_F(OvAgentChannelTest, PingComesBeforeTheIndexIsLookedAt) {
    alpc_->standingPing.code = lpc_->standingPing.code = 1;
    EXPECT_EQ(BroadcastFailure(11).rfind("CKelcommChannel::GetBroadcast: ", 0), 0u);
    EXPECT_EQ(BroadcastFailure(11), "CKelcommChannel: Unknown broadcast was specified");
}

TEST_F(OvAgentChannelTest, OtherIndicesAreUnknown) {
    for (const std::int32_t index : {11, 2147483647, -1, -2147483647 - 1}) {
        EXPECT_EQ(BroadcastFailure(index), "CKelcommChannel: Unknown broadcast was specified");
    }
}

TEST_F(OvAgentChannelTest, UnreadableValue) {
    alpc_->unreadableBroadcastOffsets = {24};
    EXPECT_EQ(BroadcastFailure(0), "CKelcommChannel: Get broadcast failed");
    EXPECT_EQ(channel_->GetBroadcast(1), 1001);  // the mutex is free
}

TEST_F(OvAgentChannelTest, MissingClientIsAnUnreadableValue) {
    channel_.emplace(nullptr, nullptr, clock_);
    EXPECT_NE(BroadcastFailure(0), "nothing was thrown");  // the ping
    EXPECT_EQ(BroadcastFailure(0), "CKelcommChannel: Get broadcast failed");
}

TEST_F(OvAgentChannelTest, Value10IsTheServerPlugins) {
    SetWord(20, 1);
    SetModule(0, 0x1004000, 1);
    SetWord(204, 42);
    EXPECT_EQ(channel_->GetBroadcast(10), 42);
}

TEST_F(OvAgentChannelTest, AfterTheFallBackValue10ComesFromTheLegacyClient) {
    SetWord(20, 1);
    SetModule(0, 0x1004000, 1);
    SetWord(204, 42);
    alpc_->standingPing.code = 1;
    EXPECT_EQ(channel_->GetBroadcast(10), 42);
    EXPECT_TRUE(alpc_->seenBroadcastOffsets.empty());
}

TEST_F(OvAgentChannelTest, MissingClientHasNoModules) {
    channel_.emplace(nullptr, nullptr, clock_);
    EXPECT_NE(BroadcastFailure(10), "nothing was thrown");  // the ping
    EXPECT_EQ(BroadcastFailure(10), "CKelcommChannel: Get modules count broadcast failed");
}

TEST_F(OvAgentChannelTest, Value10WithoutThePluginIsMinus1AndNeverReadAgain) {
    EXPECT_EQ(channel_->GetBroadcast(10), -1);
    SetWord(20, 1);
    SetModule(0, 0x1004000, 1);
    SetWord(204, 42);
    alpc_->seenBroadcastOffsets.clear();
    EXPECT_EQ(channel_->GetBroadcast(10), -1);
    EXPECT_TRUE(alpc_->seenBroadcastOffsets.empty());
}

TEST_F(OvAgentChannelTest, Value10OfAPluginWithTooFewDataFailsOnceAndIsMinus1ThenOn) {
    SetWord(20, 1);
    SetModule(0, 0x1004000, 1, 200, 7);
    EXPECT_EQ(BroadcastFailure(10),
              "CKelcommChannel: serverPluginSize size is smaller than requested size");
    SetModule(0, 0x1004000, 2, 200, 8);
    EXPECT_EQ(channel_->GetBroadcast(10), -1);
}

TEST_F(OvAgentChannelTest, FirstCallPingsForEveryIndex) {
    EXPECT_EQ(BroadcastFailure(-1), "CKelcommChannel: Unknown broadcast was specified");
    EXPECT_EQ(alpc_->seenPings.size(), 1u);
}

TEST_F(OvAgentChannelTest, MissingPluginNeedsNoMutexAnyMore) {
    channel_->GetBroadcast(10);
    // The mutex is held while an exchange is served.
    std::int32_t value = 0;
    alpc_->whileServing = [&] { value = channel_->GetBroadcast(10); };
    channel_->Send({});
    EXPECT_EQ(value, -1);
}

TEST_F(OvAgentChannelTest, FailureOfValue10FreesTheMutex) {
    alpc_->unreadableBroadcastOffsets = {20};
    EXPECT_EQ(BroadcastFailure(10), "CKelcommChannel: Get modules count broadcast failed");
    EXPECT_EQ(channel_->GetBroadcast(0), 1000);
}

// Changes.

TEST_F(OvAgentChannelTest, FirstLookIsAChange) {
    EXPECT_TRUE(channel_->HasBroadcastChanged(0));
}

TEST_F(OvAgentChannelTest, FirstLookAtMinus1IsNoChange) {
    SetWord(24, 0xFFFFFFFF);
    EXPECT_FALSE(channel_->HasBroadcastChanged(0));
    EXPECT_FALSE(channel_->HasBroadcastChanged(10));
}

TEST_F(OvAgentChannelTest, SameValueIsNoChangeAndAnotherIs) {
    channel_->HasBroadcastChanged(0);
    EXPECT_FALSE(channel_->HasBroadcastChanged(0));
    SetWord(24, 7);
    EXPECT_TRUE(channel_->HasBroadcastChanged(0));
    EXPECT_FALSE(channel_->HasBroadcastChanged(0));
}

TEST_F(OvAgentChannelTest, EachIndexHasAMemoryOfItsOwn) {
    channel_->HasBroadcastChanged(0);
    SetWord(28, 1000);  // what index 0 showed
    EXPECT_TRUE(channel_->HasBroadcastChanged(1));
    EXPECT_FALSE(channel_->HasBroadcastChanged(0));
}

TEST_F(OvAgentChannelTest, LookAtAnUnknownValueFailsEveryTime) {
    for (int look = 0; look < 2; ++look) {
        EXPECT_EQ(ThrownText([this] { channel_->HasBroadcastChanged(11); }),
                  "CKelcommChannel: Unknown broadcast was specified");
    }
}

TEST_F(OvAgentChannelTest, ChangeBackToMinus1IsAChange) {
    channel_->HasBroadcastChanged(0);
    SetWord(24, 0xFFFFFFFF);
    EXPECT_TRUE(channel_->HasBroadcastChanged(0));
}

TEST_F(OvAgentChannelTest, FailedLookPassesOnAndKeepsTheMemory) {
    channel_->HasBroadcastChanged(0);
    alpc_->unreadableBroadcastOffsets = {24};
    EXPECT_EQ(ThrownText([this] { channel_->HasBroadcastChanged(0); }),
              "CKelcommChannel: Get broadcast failed");
    alpc_->unreadableBroadcastOffsets.clear();
    EXPECT_FALSE(channel_->HasBroadcastChanged(0));
}

TEST_F(OvAgentChannelTest, FailedFirstLookIsStillFollowedByAFirstLook) {
    alpc_->unreadableBroadcastOffsets = {24};
    EXPECT_EQ(ThrownText([this] { channel_->HasBroadcastChanged(0); }),
              "CKelcommChannel: Get broadcast failed");
    alpc_->unreadableBroadcastOffsets.clear();
    EXPECT_TRUE(channel_->HasBroadcastChanged(0));
}

// The channel that makes its own clients.

TEST_F(OvAgentChannelTest, OwnClientsConnectUnderTheProductsNames) {
    CScriptedNative native;
    native.Fail("NtAlpcConnectPort");
    native.Fail("NtConnectPort");
    COvAgentChannel channel(1, 2, native.GetFunctions(), clock_);
    EXPECT_TRUE(native.ports.connections.empty());  // nothing connects before the first use
    std::string errors;
    EXPECT_FALSE(channel.Ping(errors));
    EXPECT_EQ(errors, "Ping (CCCOMM_PING) failed with 1, Legacy ping (CCCOMM_PING) failed with 1");
    ASSERT_GE(native.ports.connections.size(), 2u);
    EXPECT_EQ(native.ports.connections.front().name,
              u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPortAlpc");
    EXPECT_EQ(native.ports.connections.back().name,
              u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPort");
}

TEST_F(OvAgentChannelTest, OwnClientsFailOnASystemWithoutAnyFunction) {
    const auto native = Common::Kelcomm::Native::FallbackNativeFunctions();
    COvAgentChannel channel(0, 0, native, clock_);
    EXPECT_EQ(ThrownText([&] { channel.Start(); }),
              "Cannot start kelcomm channel: Ping (CCCOMM_PING) failed with 1, Legacy ping "
              "(CCCOMM_PING) failed with 1");
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
