#include <algorithm>
#include <chrono>
#include <future>
#include <optional>
#include <thread>
#include <utility>

#include "kelcomm/KelcommChannel.h"
#include "kelcomm/KelcommChannelBuffer.h"
#include "kelcomm/KelcommErrorReplyException.h"
#include "tests/kelcomm/ChannelFixture.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Connectors::Common::Kelcomm {
namespace {

using namespace Test;

constexpr char kTooLarge[] = "CKelcommChannel: Reply buffer exeeded allowed size";
constexpr char kNotFullEnough[] = "KelcommChannelBuffer: Buffer is not full enough";

class KelcommChannelTest : public Test::ChannelFixture {
  protected:
    KelcommChannelTest() { channel_.emplace(AlpcClient(), LpcClient()); }

    std::uint32_t Send(const std::string& request = "question") {
        KelcommChannelBuffer buffer;
        buffer.Append(request.data(), request.size());
        return channel_->SendRequest(buffer, reply_);
    }

    std::string SendFailure() {
        return ThrownText([this] { Send(); });
    }

    bool Ping() { return channel_->Ping(errors_); }

    /// Both clients fail exchanges with these codes.
    void Fail(std::uint32_t alpcCode, std::uint32_t lpcCode) {
        alpc_->standingRequest = {alpcCode, {}};
        lpc_->standingRequest = {lpcCode, {}};
    }

    /// The product publishes 77 as its values 3 and 10.
    void PublishValues() {
        SetWord(36, 77);
        SetWord(20, 1);
        SetModule(0, 0x1004000, 9);
        SetWord(204, 77);
    }

    /// The capacities that the ALPC client was offered, in order.
    std::vector<std::uint32_t> Capacities() const {
        std::vector<std::uint32_t> capacities;
        for (const auto& request : alpc_->seenRequests) {
            capacities.push_back(request.replyCapacity);
        }
        return capacities;
    }

    std::optional<CKelcommChannel> channel_;
    KelcommChannelBuffer reply_;
    std::string errors_;
};

// Making and destroying.

class CChannelWithRequired : public CKelcommChannel {
  public:
    using CKelcommChannel::Required;
};

TEST_F(KelcommChannelTest, MissingClientFailsTheCreation) {
    EXPECT_EQ(ThrownText([] { CChannelWithRequired::Required(nullptr); }),
              "CKelcommChannel: KelcommClient creation failed");
}

TEST_F(KelcommChannelTest, PresentClientIsPassedOn) {
    auto client = AlpcClient();
    const auto* expected = client.get();
    EXPECT_EQ(CChannelWithRequired::Required(std::move(client)).get(), expected);
}

/// The clients that a channel has made, each told by a function that it alone calls meanwhile.
std::vector<std::string>& MadeClients() {
    static std::vector<std::string> made;
    return made;
}

void KYR_NTAPI InitializeLock(void** /*lock*/) {
    MadeClients().push_back("alpc");
}

NtApi::Bool KYR_NTAPI AskForWidth(NtApi::Handle /*process*/, NtApi::Bool* /*isWow64*/) {
    MadeClients().push_back("lpc");
    return 0;
}

TEST_F(KelcommChannelTest, NonLegacyClientIsMadeFirst) {
    Native::NativeFunctions native = Native::FallbackNativeFunctions();
    native.RtlInitializeSRWLock = &InitializeLock;
    native.IsWow64Process = &AskForWidth;
    MadeClients().clear();
    const CKelcommChannel channel(0, 0, native);
    EXPECT_EQ(MadeClients(), (std::vector<std::string>{"alpc", "lpc"}));
}

TEST_F(KelcommChannelTest, DestructionClosesThenDestroysNonLegacyThenLegacy) {
    channel_.reset();
    EXPECT_EQ(journal_, (std::vector<std::string>{"alpc closed", "alpc destroyed", "lpc closed",
                                                  "lpc destroyed"}));
}

// Ping.

TEST_F(KelcommChannelTest, PingSendsCommandZeroWithoutPayloadReplyOrTimeout) {
    EXPECT_TRUE(Ping());
    ASSERT_EQ(alpc_->seenPings.size(), 1u);
    const auto& ping = alpc_->seenPings[0];
    EXPECT_EQ(ping.flags, 0u);
    EXPECT_TRUE(ping.bytes.empty());
    EXPECT_FALSE(ping.hasReplyBuffer);
    EXPECT_EQ(ping.replyCapacity, 0u);
    EXPECT_EQ(ping.timeout, 0);
}

TEST_F(KelcommChannelTest, AnsweredPingLeavesErrorsAndLegacyClientAlone) {
    EXPECT_TRUE(Ping());
    EXPECT_EQ(errors_, "");
    EXPECT_TRUE(lpc_->seenPings.empty());
}

TEST_F(KelcommChannelTest, LegacyPingSucceedsAfterOneErrorText) {
    alpc_->standingPing.code = 1;
    EXPECT_TRUE(Ping());
    EXPECT_EQ(errors_, "Ping (CCCOMM_PING) failed with 1");
    ASSERT_EQ(lpc_->seenPings.size(), 1u);
    EXPECT_FALSE(lpc_->seenPings[0].hasReplyBuffer);
    EXPECT_EQ(lpc_->seenPings[0].replyCapacity, 0u);
    EXPECT_EQ(lpc_->seenPings[0].timeout, 0);
}

TEST_F(KelcommChannelTest, LegacyPingMovesLaterRequestsToTheLegacyClient) {
    alpc_->standingPing.code = 1;
    Ping();
    Send();
    EXPECT_TRUE(alpc_->seenRequests.empty());
    EXPECT_EQ(lpc_->seenRequests.size(), 1u);
}

TEST_F(KelcommChannelTest, TwoFailedPingsGiveBothTexts) {
    alpc_->standingPing.code = 1;
    lpc_->standingPing.code = 1;
    EXPECT_FALSE(Ping());
    EXPECT_EQ(errors_, "Ping (CCCOMM_PING) failed with 1, Legacy ping (CCCOMM_PING) failed with 1");
}

TEST_F(KelcommChannelTest, PingCodesAreWrittenInUnsignedDecimal) {
    alpc_->standingPing.code = 0xFFFFFFFF;
    lpc_->standingPing.code = 10;
    Ping();
    EXPECT_EQ(
        errors_,
        "Ping (CCCOMM_PING) failed with 4294967295, Legacy ping (CCCOMM_PING) failed with 10");
}

TEST_F(KelcommChannelTest, PingAppendsToTheErrorsThatAreThere) {
    errors_ = "before";
    alpc_->standingPing.code = lpc_->standingPing.code = 4;
    Ping();
    EXPECT_EQ(errors_,
              "beforePing (CCCOMM_PING) failed with 4, Legacy ping (CCCOMM_PING) failed with 4");
}

TEST_F(KelcommChannelTest, PingReplyWithBytesCountsAsFailed) {
    alpc_->standingPing.reply = lpc_->standingPing.reply = HexBytes("00");
    EXPECT_FALSE(Ping());
    EXPECT_EQ(errors_, "Ping (CCCOMM_PING) failed with 6, Legacy ping (CCCOMM_PING) failed with 1");
}

TEST_F(KelcommChannelTest, MissingClientsCountAsCode10InPing) {
    CKelcommChannel channel(nullptr, nullptr);
    EXPECT_FALSE(channel.Ping(errors_));
    EXPECT_EQ(errors_,
              "Ping (CCCOMM_PING) failed with 10, Legacy ping (CCCOMM_PING) failed with 10");
}

TEST_F(KelcommChannelTest, LaterNonLegacyPingNeverLeavesTheLegacyClient) {
    alpc_->pings = {{1, {}}};
    Ping();
    EXPECT_TRUE(Ping());  // the non-legacy client answers now
    EXPECT_EQ(lpc_->seenPings.size(), 1u);
    Send();
    EXPECT_TRUE(alpc_->seenRequests.empty());
    EXPECT_EQ(lpc_->seenRequests.size(), 1u);
}

TEST_F(KelcommChannelTest, FailedPingDoesNotMoveToTheLegacyClient) {
    alpc_->standingPing.code = lpc_->standingPing.code = 1;
    Ping();
    Send();
    EXPECT_EQ(alpc_->seenRequests.size(), 1u);
    EXPECT_TRUE(lpc_->seenRequests.empty());
}

// A request that works.

TEST_F(KelcommChannelTest, RequestTravelsUnchangedUnderCommand3) {
    Send("bytes of a request");
    ASSERT_EQ(alpc_->seenRequests.size(), 1u);
    const auto& request = alpc_->seenRequests[0];
    EXPECT_EQ(request.flags, 0u);
    EXPECT_EQ(request.command, 3u);
    EXPECT_EQ(request.bytes, TextBytes("bytes of a request"));
    EXPECT_TRUE(request.hasReplyBuffer);
    EXPECT_TRUE(request.hasReplyLength);
    EXPECT_EQ(request.timeout, 0);
}

TEST_F(KelcommChannelTest, RequestIsSentFromItsBufferEachTime) {
    KelcommChannelBuffer request;
    request.Append("question", 8);
    alpc_->requests = {{6, {}}, {0, KelcommReply(5, 0)}};
    channel_->SendRequest(request, reply_);
    ASSERT_EQ(alpc_->seenRequests.size(), 3u);
    for (const auto& seen : alpc_->seenRequests) {
        EXPECT_EQ(seen.source, request.GetData());
    }
}

TEST_F(KelcommChannelTest, Status0ReturnsTheHeadersValue) {
    alpc_->standingRequest.reply = HexBytes("0C 00 00 00  00 00 00 00  44 33 22 81  61 62");
    EXPECT_EQ(Send(), 0x81223344u);
}

TEST_F(KelcommChannelTest, ReplyIsWholeAndReadFromBehindItsHeader) {
    const auto whole = HexBytes("0C 00 00 00  00 00 00 00  02 00 00 00  61 62");
    alpc_->standingRequest.reply = whole;
    Send();
    EXPECT_EQ(reply_.GetBytes(), whole);
    EXPECT_EQ(reply_.GetReadPosition(), 12u);
}

TEST_F(KelcommChannelTest, TwelveByteReplyHasAnEmptyBody) {
    alpc_->standingRequest.reply = HexBytes("0C 00 00 00  00 00 00 00  07 00 00 00");
    EXPECT_EQ(Send(), 7u);
    EXPECT_EQ(reply_.GetRemaining(), 0u);
}

TEST_F(KelcommChannelTest, Status18IsSuccessWithValue0) {
    alpc_->standingRequest.reply = KelcommReply(18, 99, TextBytes("body"));
    EXPECT_EQ(Send(), 0u);
    EXPECT_EQ(reply_.GetRemaining(), 4u);
}

TEST_F(KelcommChannelTest, RequestsNeverPingByThemselves) {
    Send();
    EXPECT_TRUE(alpc_->seenPings.empty());
    EXPECT_TRUE(lpc_->seenPings.empty());
}

// The growing reply buffer.

TEST_F(KelcommChannelTest, ReplyOf65536BytesFitsTheFirstBuffer) {
    alpc_->standingRequest.reply = KelcommReply(0, 1, std::vector<unsigned char>(65524));
    EXPECT_EQ(Send(), 1u);
    EXPECT_EQ(Capacities(), (std::vector<std::uint32_t>{65536}));
    EXPECT_EQ(reply_.GetSize(), 65536u);
}

TEST_F(KelcommChannelTest, ReplyOf65537BytesIsAskedForAgainWithTwiceTheCapacity) {
    alpc_->standingRequest.reply = KelcommReply(0, 1, std::vector<unsigned char>(65525));
    EXPECT_EQ(Send("again"), 1u);
    ASSERT_EQ(Capacities(), (std::vector<std::uint32_t>{65536, 131072}));
    EXPECT_EQ(alpc_->seenRequests[1].bytes, TextBytes("again"));
    EXPECT_EQ(reply_.GetSize(), 65537u);
}

/// A product of the older port, which writes into the caller's buffer: first that it is too small,
/// in 16 bytes, then a reply that it calls as long and of which it writes the header alone.
class CSparingClient final : public IKelcommClient {
  public:
    explicit CSparingClient(bool tooSmallFirst = true) : first_(tooSmallFirst) {}
    std::uint32_t Initialize(std::uint32_t, std::uint32_t, std::uint32_t) override { return 0; }
    std::uint32_t Uninitialize() override { return 0; }
    std::uint32_t Close() override { return 0; }
    std::uint32_t RequestToBuffer(std::uint32_t, std::uint32_t, const void*, std::uint32_t,
                                  CBuffer*, std::int64_t) override {
        return kKelcommFailure;
    }
    std::uint32_t Request(std::uint32_t, std::uint32_t, const void*, std::uint32_t, void* reply,
                          std::uint32_t, std::uint32_t* replyLength, std::int64_t) override {
        const auto bytes =
            first_ ? KelcommReply(5, 0, HexBytes("FF FF FF FF")) : KelcommReply(0, 4);
        first_ = false;
        std::copy(bytes.begin(), bytes.end(), static_cast<unsigned char*>(reply));
        *replyLength = 16;
        return kKelcommSuccess;
    }
    std::uint32_t ReadBroadcast(std::uint32_t, void*, std::uint32_t) override { return 1; }
    std::uint32_t ReadBroadcastValue(std::uint32_t, std::uint32_t*) override { return 1; }

  private:
    bool first_;
};

TEST_F(KelcommChannelTest, ReplyThatDidNotFitLeavesNothingInTheNextOne) {
    CKelcommChannel channel(std::make_unique<CSparingClient>(), nullptr);
    channel.SendRequest(KelcommChannelBuffer(), reply_);
    EXPECT_EQ(reply_.GetBytes(), KelcommReply(0, 4, HexBytes("00 00 00 00")));
}

TEST_F(KelcommChannelTest, LegacyReplyThatIsNotAllWrittenEndsInZeros) {
    // What the newer port's client leaves in the room that it was offered is nobody's reply.
    alpc_->soil = true;
    alpc_->standingRequest.code = 4;
    CKelcommChannel channel(AlpcClient(), std::make_unique<CSparingClient>(false));
    channel.SendRequest(KelcommChannelBuffer(), reply_);
    EXPECT_EQ(reply_.GetBytes(), KelcommReply(0, 4, HexBytes("00 00 00 00")));
}

TEST_F(KelcommChannelTest, ReplyBehindAShorterOneIsAllItsOwn) {
    alpc_->soil = true;
    alpc_->standingRequest.reply = KelcommReply(0, 2, TextBytes("ab"));
    Send();
    EXPECT_EQ(reply_.GetBytes(), KelcommReply(0, 2, TextBytes("ab")));
}

TEST_F(KelcommChannelTest, ReplyThatIsToldToBeLongerThanItsRoomEndsInZeros) {
    alpc_->standingRequest.reply = KelcommReply(0, 0);  // 12 bytes
    alpc_->toldBeyond = 0x10000;
    Send();
    ASSERT_EQ(reply_.GetSize(), 0x1000Cu);
    const auto& bytes = reply_.GetBytes();
    EXPECT_EQ(std::vector<unsigned char>(bytes.end() - 12, bytes.end()),
              std::vector<unsigned char>(12, 0));
}

TEST_F(KelcommChannelTest, CallersBufferSizeIsTheFirstCapacity) {
    reply_.Resize(100);
    Send();
    EXPECT_EQ(Capacities(), (std::vector<std::uint32_t>{100}));
}

TEST_F(KelcommChannelTest, SmallCallersBufferGrowsByDoubling) {
    reply_.Resize(5);
    alpc_->standingRequest.reply = KelcommReply(0, 3);
    EXPECT_EQ(Send(), 3u);
    EXPECT_EQ(Capacities(), (std::vector<std::uint32_t>{5, 10, 20}));
}

TEST_F(KelcommChannelTest, Status5RepeatsTheWholeRequestWithTwiceTheCapacity) {
    alpc_->requests = {{0, KelcommReply(5, 0)}, {0, KelcommReply(0, 8)}};
    EXPECT_EQ(Send("again"), 8u);
    ASSERT_EQ(Capacities(), (std::vector<std::uint32_t>{65536, 131072}));
    EXPECT_EQ(alpc_->seenRequests[1].bytes, TextBytes("again"));
}

TEST_F(KelcommChannelTest, CapacityOf256MebibytesIsStillOffered) {
    alpc_->standingRequest = {6, {}};
    EXPECT_EQ(SendFailure(), kTooLarge);
    ASSERT_EQ(Capacities().size(), 13u);  // 64 KiB doubled twelve times
    EXPECT_EQ(Capacities().back(), 0x10000000u);
}

TEST_F(KelcommChannelTest, Status5PastTheLimitThrowsInsteadOfAnotherRequest) {
    reply_.Resize(0x08000001);
    alpc_->standingRequest.reply = KelcommReply(5, 0);
    EXPECT_EQ(SendFailure(), kTooLarge);
    EXPECT_EQ(Capacities(), (std::vector<std::uint32_t>{0x08000001}));
}

TEST_F(KelcommChannelTest, CallersBufferAboveTheLimitThrowsBeforeAnythingIsSent) {
    reply_.Resize(0x10000001);
    EXPECT_EQ(SendFailure(), kTooLarge);
    EXPECT_TRUE(alpc_->seenRequests.empty());
}

TEST_F(KelcommChannelTest, CallersBufferAtTheLimitIsUsed) {
    reply_.Resize(0x10000000);
    EXPECT_EQ(Send(), 0u);
    EXPECT_EQ(Capacities(), (std::vector<std::uint32_t>{0x10000000}));
}

// Replies that are no success.

TEST_F(KelcommChannelTest, ElevenByteReplyIsNotFullEnough) {
    alpc_->standingRequest.reply = HexBytes("0C 00 00 00  00 00 00 00  00 00 00");
    EXPECT_EQ(SendFailure(), kNotFullEnough);
}

TEST_F(KelcommChannelTest, EmptyReplyIsNotFullEnough) {
    alpc_->standingRequest.reply.clear();
    EXPECT_EQ(SendFailure(), kNotFullEnough);
}

TEST_F(KelcommChannelTest, ShortReplyWithAWrongHeaderSizeIsNotFullEnough) {
    alpc_->standingRequest.reply = HexBytes("0D 00 00 00  00 00 00 00");
    EXPECT_EQ(SendFailure(), kNotFullEnough);
}

TEST_F(KelcommChannelTest, HeaderSizeOtherThan12IsWrong) {
    alpc_->standingRequest.reply = HexBytes("0D 00 00 00  00 00 00 00  00 00 00 00  00");
    EXPECT_EQ(SendFailure(), "CKelcommChannel: Reply header has wrong size");
}

TEST_F(KelcommChannelTest, WrongHeaderSizeIsSeenBeforeTheStatus) {
    alpc_->standingRequest.reply = HexBytes("0B 00 00 00  05 00 00 00  00 00 00 00");
    EXPECT_EQ(SendFailure(), "CKelcommChannel: Reply header has wrong size");
    EXPECT_EQ(alpc_->seenRequests.size(), 1u);
}

TEST_F(KelcommChannelTest, ErrorStatusThrowsErrorReplyWithTheStatus) {
    alpc_->standingRequest.reply = KelcommReply(4000000000u, 0);
    try {
        Send();
        FAIL() << "nothing was thrown";
    } catch (const CKelcommErrorReplyException& error) {
        EXPECT_STREQ(error.what(), "CKelcommChannel: Send request failed with 4000000000");
        EXPECT_EQ(error.GetStatus(), 4000000000u);
    }
}

TEST_F(KelcommChannelTest, Status14AddsTheAdministratorHint) {
    alpc_->standingRequest.reply = KelcommReply(14, 0);
    try {
        Send();
        FAIL() << "nothing was thrown";
    } catch (const CKelcommErrorReplyException& error) {
        EXPECT_STREQ(error.what(),
                     "CKelcommChannel: Send request failed with 14, Command failed - Make sure "
                     "that Agent runs with Administrator privileges.");
        EXPECT_EQ(error.GetStatus(), 14u);
    }
}

TEST_F(KelcommChannelTest, NeighboursOfTheSpecialStatusesAreErrorReplies) {
    for (const std::uint32_t status : {1u, 4u, 6u, 13u, 15u, 17u, 19u}) {
        alpc_->standingRequest.reply = KelcommReply(status, 0);
        EXPECT_EQ(ThrownText<CKelcommErrorReplyException>([this] { Send(); }),
                  "CKelcommChannel: Send request failed with " + std::to_string(status));
    }
}

TEST_F(KelcommChannelTest, ErrorReplyDoesNotFallBack) {
    alpc_->requests = {{0, KelcommReply(3, 0)}};
    SendFailure();
    Send();
    EXPECT_EQ(alpc_->seenRequests.size(), 2u);
    EXPECT_TRUE(lpc_->seenRequests.empty());
}

// Transport failures.

TEST_F(KelcommChannelTest, FirstTransportFailureRepeatsWithTheLegacyClient) {
    Fail(4, 0);
    lpc_->standingRequest.reply = KelcommReply(0, 5);
    EXPECT_EQ(Send("again"), 5u);
    ASSERT_EQ(lpc_->seenRequests.size(), 1u);
    EXPECT_EQ(lpc_->seenRequests[0].bytes, TextBytes("again"));
    EXPECT_EQ(lpc_->seenRequests[0].replyCapacity, 65536u);
}

TEST_F(KelcommChannelTest, FallBackIsForGood) {
    alpc_->requests = {{1, {}}};
    Send();
    Ping();
    Send();
    EXPECT_EQ(alpc_->seenRequests.size(), 1u);
    EXPECT_EQ(lpc_->seenRequests.size(), 2u);
}

TEST_F(KelcommChannelTest, BothClientsFailingGivesBothTexts) {
    Fail(4, 1);
    EXPECT_EQ(SendFailure(),
              "CKelcommChannel: Send request failed with kelcomm error 1, Non-legacy "
              "CKelcommChannel: Send request failed with kelcomm error 4");
}

TEST_F(KelcommChannelTest, FailureOfAPingedChannelThrowsAtOnce) {
    Ping();
    Fail(1, 0);
    EXPECT_EQ(SendFailure(), "CKelcommChannel: Send request failed with kelcomm error 1");
    EXPECT_TRUE(lpc_->seenRequests.empty());
}

TEST_F(KelcommChannelTest, FailedPingAlsoForbidsTheFallBack) {
    alpc_->standingPing.code = lpc_->standingPing.code = 1;
    Ping();
    Fail(9, 0);
    EXPECT_EQ(SendFailure(), "CKelcommChannel: Send request failed with kelcomm error 9");
}

TEST_F(KelcommChannelTest, NonLegacyErrorIsNotRememberedByLaterRequests) {
    Fail(4, 1);
    SendFailure();
    EXPECT_EQ(SendFailure(), "CKelcommChannel: Send request failed with kelcomm error 1");
    EXPECT_EQ(alpc_->seenRequests.size(), 1u);
}

TEST_F(KelcommChannelTest, FallBackKeepsTheCapacityThatGrewBefore) {
    alpc_->requests = {{6, {}}, {1, {}}};
    Send();
    ASSERT_EQ(lpc_->seenRequests.size(), 1u);
    EXPECT_EQ(lpc_->seenRequests[0].replyCapacity, 131072u);
}

TEST_F(KelcommChannelTest, ReplyTooLargeNeverFallsBack) {
    alpc_->requests = {{6, {}}};
    Send();
    EXPECT_TRUE(lpc_->seenRequests.empty());
    alpc_->standingRequest = {1, {}};
    Send();  // still unpinged: this is the first transport failure
    EXPECT_EQ(lpc_->seenRequests.size(), 1u);
}

TEST_F(KelcommChannelTest, MissingClientsCountAsCode10InRequests) {
    channel_.emplace(nullptr, nullptr);
    EXPECT_EQ(SendFailure(),
              "CKelcommChannel: Send request failed with kelcomm error 10, Non-legacy "
              "CKelcommChannel: Send request failed with kelcomm error 10");
}

TEST_F(KelcommChannelTest, MutexIsFreeAfterEveryFailure) {
    const std::vector<KelcommScript::Answer> failures = {
        {1, {}},                                               // falls back, and both fail
        {0, HexBytes("00")},                                   // short
        {0, HexBytes("0D 00 00 00 00 00 00 00 00 00 00 00")},  // wrong header size
        {0, KelcommReply(14, 0)},                              // refused
        {6, {}},                                               // outgrows the limit
    };
    for (const auto& failure : failures) {
        alpc_->standingRequest = lpc_->standingRequest = failure;
        EXPECT_NE(SendFailure(), "nothing was thrown");
        reply_.Resize(0);
        EXPECT_TRUE(Ping());
    }
}

// Several threads.

TEST_F(KelcommChannelTest, ClientsAreUsedByOneThreadAtATime) {
    PublishValues();
    Ping();
    alpc_->whileServing = [] { std::this_thread::yield(); };
    std::thread pinging([this] {
        for (int i = 0; i < 200; ++i) {
            std::string errors;
            channel_->Ping(errors);
        }
    });
    std::thread reading([this] {
        for (int i = 0; i < 200; ++i) {
            channel_->GetBroadcast(3);
            channel_->GetBroadcast(10);
        }
    });
    for (int i = 0; i < 200; ++i) {
        Send();
    }
    pinging.join();
    reading.join();
    EXPECT_FALSE(alpc_->overlapped);
    EXPECT_EQ(alpc_->seenPings.size(), 201u);
    EXPECT_EQ(alpc_->seenRequests.size(), 200u);
    // Of the server plug-in's value all but the first read is its timestamp's only.
    EXPECT_EQ(alpc_->seenBroadcastOffsets.size(), 406u);
}

TEST_F(KelcommChannelTest, BroadcastValuesWaitForAPingThatIsUnderWay) {
    PublishValues();
    Ping();
    for (const std::int32_t index : {3, 10}) {
        std::future<std::int32_t> value;
        alpc_->whileServing = [&, first = true]() mutable {
            if (!std::exchange(first, false)) {
                return;
            }
            value = std::async(std::launch::async, [=] { return channel_->GetBroadcast(index); });
            EXPECT_EQ(value.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        };
        Ping();
        EXPECT_EQ(value.get(), 77);
    }
    EXPECT_FALSE(alpc_->overlapped);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm
