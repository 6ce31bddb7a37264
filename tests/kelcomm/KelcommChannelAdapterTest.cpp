#include <chrono>
#include <functional>
#include <optional>

#include <boost/thread/thread.hpp>
#include <boost/weak_ptr.hpp>

#include "kelcomm/KelcommChannelAdapter.h"
#include "kelcomm/KelcommErrorReplyException.h"
#include "tests/kelcomm/ChannelFixture.h"
#include "tests/support/ThrownText.h"
#include "tests/support/VirtualSlot.h"
#include "tests/support/product/FakeReceiver.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::Common::Kelcomm {
namespace {

using std::chrono::milliseconds;
using namespace Test;

class KelcommChannelAdapterTest : public Test::ChannelFixture {
  protected:
    KelcommChannelAdapterTest() {
        clock_->SetAutomaticSleep(true);
        channel_.emplace(AlpcClient(), LpcClient(), clock_);
    }

    boost::shared_ptr<CFakeReceiver> Receive(const std::function<void()>& whileReceiving = {}) {
        auto receiver = boost::make_shared<CFakeReceiver>();
        if (whileReceiving) {
            receiver->onReply = [whileReceiving](const auto&) { whileReceiving(); };
        }
        channel_->SetBufferReceiver(receiver);
        return receiver;
    }
    /// Size and capacity of the vector in which the next reply comes.
    std::pair<std::size_t, std::size_t> RoomOfReply() {
        std::pair<std::size_t, std::size_t> room;
        Receive()->onReply = [&room](const auto& reply) {
            room = {reply.size(), reply.capacity()};
        };
        channel_->Send(TextBytes("question"));
        return room;
    }

    /// The first `count` pings fail with `code` on both clients, the next ones are answered.
    void FailPings(std::size_t count, std::uint32_t code = 1) {
        alpc_->pings.assign(count, {code, {}});
        lpc_->pings.assign(count, {code, {}});
    }

    std::string StartFailure() {
        return ThrownText([this] { channel_->Start(); });
    }

    const boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    std::optional<CKelcommChannelAdapter> channel_;
};

TEST_F(KelcommChannelAdapterTest, SlotsFollowTheContract) {
    EXPECT_EQ(VirtualSlot(&IChannel::Start, 0), 0);
    EXPECT_EQ(VirtualSlot(&IChannel::Send, 0), 1);
    EXPECT_EQ(VirtualSlot(&IChannel::SetBufferReceiver, 0), 2);
    EXPECT_EQ(VirtualSlot(&IChannel::Stop, 0), 3);
    EXPECT_EQ(VirtualSlot(&IBufferReceiver::OnBufferReceived, 0), 0);
}

TEST_F(KelcommChannelAdapterTest, ClientSlotsFollowTheContract) {
    EXPECT_EQ(VirtualSlot(&IKelcommClient::Initialize), 1);
    EXPECT_EQ(VirtualSlot(&IKelcommClient::Uninitialize), 2);
    EXPECT_EQ(VirtualSlot(&IKelcommClient::Close), 3);
    EXPECT_EQ(VirtualSlot(&IKelcommClient::RequestToBuffer), 4);
    EXPECT_EQ(VirtualSlot(&IKelcommClient::Request), 5);
    EXPECT_EQ(VirtualSlot(&IKelcommClient::ReadBroadcast), 6);
    EXPECT_EQ(VirtualSlot(&IKelcommClient::ReadBroadcastValue), 7);
}

// Start.

TEST_F(KelcommChannelAdapterTest, AnsweredPingStartsAtOnce) {
    channel_->Start();
    EXPECT_EQ(alpc_->seenPings.size(), 1u);
    EXPECT_TRUE(clock_->Sleeps().empty());
}

TEST_F(KelcommChannelAdapterTest, FailedPingIsRepeatedAfterOneSecond) {
    FailPings(2);
    channel_->Start();
    EXPECT_EQ(alpc_->seenPings.size(), 3u);
    EXPECT_EQ(clock_->Sleeps(),
              (std::vector<milliseconds>{milliseconds{1000}, milliseconds{1000}}));
}

TEST_F(KelcommChannelAdapterTest, StartWithLegacyPingUsesTheLegacyClientFromThenOn) {
    alpc_->standingPing.code = 1;
    channel_->Start();
    channel_->Send(TextBytes("question"));
    EXPECT_TRUE(alpc_->seenRequests.empty());
    EXPECT_EQ(lpc_->seenRequests.size(), 1u);
}

TEST_F(KelcommChannelAdapterTest, SuccessOnThe59thAttemptStarts) {
    FailPings(58);
    EXPECT_NO_THROW(channel_->Start());
    EXPECT_EQ(alpc_->seenPings.size(), 59u);
}

TEST_F(KelcommChannelAdapterTest, SuccessOnThe60thAttemptStillFails) {
    FailPings(59);
    EXPECT_EQ(StartFailure(), "Cannot start kelcomm channel: ");
    EXPECT_EQ(alpc_->seenPings.size(), 60u);
    EXPECT_EQ(clock_->Sleeps().size(), 59u);
}

TEST_F(KelcommChannelAdapterTest, LegacySuccessOnThe60thAttemptFailsWithTheNonLegacyText) {
    FailPings(59);
    alpc_->standingPing.code = 4;
    EXPECT_EQ(StartFailure(), "Cannot start kelcomm channel: Ping (CCCOMM_PING) failed with 4");
}

TEST_F(KelcommChannelAdapterTest, SixtyFailedPingsFailAfterSixtySleeps) {
    FailPings(60);
    EXPECT_NE(StartFailure(), "nothing was thrown");
    EXPECT_EQ(alpc_->seenPings.size(), 60u);
    EXPECT_EQ(lpc_->seenPings.size(), 60u);
    EXPECT_EQ(clock_->Sleeps(), std::vector<milliseconds>(60, milliseconds{1000}));
}

TEST_F(KelcommChannelAdapterTest, FailureTextHoldsTheLastAttemptOnly) {
    FailPings(59, 1);
    alpc_->standingPing.code = lpc_->standingPing.code = 2;
    EXPECT_EQ(StartFailure(),
              "Cannot start kelcomm channel: Ping (CCCOMM_PING) failed with 2, Legacy ping "
              "(CCCOMM_PING) failed with 2");
}

TEST_F(KelcommChannelAdapterTest, StartSleepsInterruptiblyAndWithoutTheMutex) {
    clock_->SetAutomaticSleep(false);
    FailPings(1);
    bool interrupted = false;
    boost::thread starting([&] {
        try {
            channel_->Start();
        } catch (const boost::thread_interrupted&) {
            interrupted = true;
        }
    });
    ASSERT_TRUE(clock_->AwaitSleepers(1));
    std::string errors;
    EXPECT_TRUE(channel_->Ping(errors));  // would block for ever if the sleeper held the mutex
    starting.interrupt();
    starting.join();
    EXPECT_TRUE(interrupted);
}

// Send.

TEST_F(KelcommChannelAdapterTest, RequestIsSentUnchanged) {
    channel_->Send(HexBytes("0C 00 FF"));
    ASSERT_EQ(alpc_->seenRequests.size(), 1u);
    EXPECT_EQ(alpc_->seenRequests[0].command, 3u);
    EXPECT_EQ(alpc_->seenRequests[0].bytes, HexBytes("0C 00 FF"));
    EXPECT_EQ(alpc_->seenRequests[0].replyCapacity, 65536u);
}

TEST_F(KelcommChannelAdapterTest, ReceiverSeesTheWholeReplyHeaderFirst) {
    alpc_->standingRequest.reply = KelcommReply(0, 2, TextBytes("ab"));
    const auto receiver = Receive();
    channel_->Send(TextBytes("question"));
    ASSERT_EQ(receiver->replies.size(), 1u);
    EXPECT_EQ(receiver->replies[0], HexBytes("0C 00 00 00  00 00 00 00  02 00 00 00  61 62"));
}

TEST_F(KelcommChannelAdapterTest, ReplyThatOutgrewTheFirstBufferArrivesWhole) {
    std::vector<unsigned char> reply = HexBytes("0C 00 00 00  00 00 00 00  F5 FF 00 00");
    reply.resize(65536, 0x61);
    reply.push_back(0x7A);
    alpc_->standingRequest.reply = reply;
    const auto receiver = Receive();
    channel_->Send(TextBytes("question"));
    ASSERT_EQ(receiver->replies.size(), 1u);
    EXPECT_TRUE(receiver->replies[0] == reply);
}

TEST_F(KelcommChannelAdapterTest, SmallReplyKeepsNoSpareRoom) {
    EXPECT_EQ(RoomOfReply(), std::pair(std::size_t{12}, std::size_t{12}));
}

TEST_F(KelcommChannelAdapterTest, ReplyOfHalfItsRoomKeepsNoSpareRoom) {
    std::vector<unsigned char> reply = HexBytes("0C 00 00 00  00 00 00 00  F4 7F 00 00");
    reply.resize(32768, 0x61);
    alpc_->standingRequest.reply = reply;
    EXPECT_EQ(RoomOfReply(), std::pair(std::size_t{32768}, std::size_t{32768}));
}

TEST_F(KelcommChannelAdapterTest, ReplyOfMoreThanHalfItsRoomIsNotCopiedForTheRest) {
    std::vector<unsigned char> reply = HexBytes("0C 00 00 00  00 00 00 00  F5 7F 00 00");
    reply.resize(32769, 0x61);
    alpc_->standingRequest.reply = reply;
    EXPECT_EQ(RoomOfReply(), std::pair(std::size_t{32769}, std::size_t{65536}));
}

TEST_F(KelcommChannelAdapterTest, EmptyReceiverDropsLaterReplies) {
    const auto receiver = Receive();
    channel_->SetBufferReceiver({});
    EXPECT_NO_THROW(channel_->Send(TextBytes("question")));
    EXPECT_TRUE(receiver->replies.empty());
    EXPECT_EQ(receiver.use_count(), 1);
}

TEST_F(KelcommChannelAdapterTest, SendWithoutAReceiverDropsTheReply) {
    EXPECT_NO_THROW(channel_->Send(TextBytes("question")));
    EXPECT_EQ(alpc_->seenRequests.size(), 1u);
}

TEST_F(KelcommChannelAdapterTest, FailurePassesUnchangedAndSkipsTheReceiver) {
    alpc_->standingRequest.reply = KelcommReply(14, 0);
    const auto receiver = Receive();
    try {
        channel_->Send(TextBytes("question"));
        FAIL() << "nothing was thrown";
    } catch (const CKelcommErrorReplyException& error) {
        EXPECT_EQ(error.GetStatus(), 14u);
    }
    EXPECT_TRUE(receiver->replies.empty());
}

TEST_F(KelcommChannelAdapterTest, TransportFailurePassesUnchangedAndSkipsTheReceiver) {
    alpc_->standingRequest.code = 4;
    lpc_->standingRequest.code = 1;
    const auto receiver = Receive();
    EXPECT_EQ(ThrownText([this] { channel_->Send(TextBytes("question")); }),
              "CKelcommChannel: Send request failed with kelcomm error 1, Non-legacy "
              "CKelcommChannel: Send request failed with kelcomm error 4");
    EXPECT_TRUE(receiver->replies.empty());
}

TEST_F(KelcommChannelAdapterTest, ReceiversExceptionReachesTheSender) {
    Receive([] { throw std::out_of_range("from the receiver"); });
    EXPECT_EQ(ThrownText<std::out_of_range>([this] { channel_->Send({}); }), "from the receiver");
}

TEST_F(KelcommChannelAdapterTest, NewReceiverReleasesThePreviousOne) {
    const auto first = Receive();
    Receive();
    EXPECT_EQ(first.use_count(), 1);
    channel_->Send({});
    EXPECT_TRUE(first->replies.empty());
}

TEST_F(KelcommChannelAdapterTest, ReceiverStaysForLaterRequests) {
    const auto receiver = Receive();
    channel_->Send({});
    channel_->Send({});
    EXPECT_EQ(receiver->replies.size(), 2u);
}

TEST_F(KelcommChannelAdapterTest, ReceiverIsCalledWithoutTheMutex) {
    std::string errors;
    bool answered = false;
    Receive([&] { answered = channel_->Ping(errors); });
    channel_->Send({});
    EXPECT_TRUE(answered);
}

TEST_F(KelcommChannelAdapterTest, ReceiverMayReplaceItselfAndSendWhileItRuns) {
    // The channel owns the only reference when the receiver runs.
    boost::shared_ptr<CFakeReceiver> second;
    Receive([&] {
        second = Receive();
        channel_->Send(TextBytes("nested"));
    });
    channel_->Send(TextBytes("outer"));
    ASSERT_TRUE(second);
    EXPECT_EQ(second->replies.size(), 1u);
    ASSERT_EQ(alpc_->seenRequests.size(), 2u);
    EXPECT_EQ(alpc_->seenRequests[1].bytes, TextBytes("nested"));
}

TEST_F(KelcommChannelAdapterTest, ReplacedReceiverLivesUntilItReturns) {
    boost::weak_ptr<CFakeReceiver> first;
    bool alive = false;
    first = Receive([&] {
        channel_->SetBufferReceiver({});
        alive = !first.expired();
    });
    channel_->Send(TextBytes("question"));
    EXPECT_TRUE(alive);
    EXPECT_TRUE(first.expired());
}

TEST_F(KelcommChannelAdapterTest, ThousandNestedSendsFitTheStack) {
    int left = 1000;
    std::function<void()> next = [&] {
        if (left-- > 0) {
            Receive(next);
            channel_->Send({});
        }
    };
    next();
    EXPECT_EQ(alpc_->seenRequests.size(), 1000u);
}

// Stop and the end.

TEST_F(KelcommChannelAdapterTest, StopLeavesTheChannelUsable) {
    const auto receiver = Receive();
    channel_->Stop();
    channel_->Send({});
    EXPECT_EQ(receiver->replies.size(), 1u);
    EXPECT_TRUE(journal_.empty());
}

TEST_F(KelcommChannelAdapterTest, DestructionReleasesTheReceiverThenTheClients) {
    channel_->SetBufferReceiver(
        boost::shared_ptr<CFakeReceiver>(new CFakeReceiver, [this](CFakeReceiver* receiver) {
            delete receiver;
            journal_.emplace_back("receiver released");
        }));
    channel_.reset();
    EXPECT_EQ(journal_,
              (std::vector<std::string>{"receiver released", "alpc closed", "alpc destroyed",
                                        "lpc closed", "lpc destroyed"}));
}

TEST_F(KelcommChannelAdapterTest, DestructionThroughTheInterfaceClosesTheClients) {
    boost::shared_ptr<IChannel> channel(
        new CKelcommChannelAdapter(AlpcClient(), LpcClient(), clock_));
    channel.reset();
    EXPECT_EQ(journal_.size(), 4u);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm
