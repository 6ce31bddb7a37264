#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "kelcomm/client/Buffer.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "tests/kelcomm/ports/AlpcFixture.h"

namespace Kyr::Test {

namespace {

class KelcommAlpcClientTest : public AlpcFixture {};

// ---- connecting ----

TEST_F(KelcommAlpcClientTest, FirstRequestConnectsWithTheConnectionMessage) {
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Ping());
    ASSERT_EQ(1U, native_.ports.connections.size());
    const CScriptedPorts::Connection& connection = native_.ports.connections[0];
    EXPECT_EQ(u"\\BaseNamedObjects\\KELCOMM31564B51To61564B51CommPortAlpc", connection.name);
    // data length 16, total 40, zeros; magic, version 2, largest inline reply
    EXPECT_EQ(
        HexBytes("10 00 28 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
            TextBytes("KelComm ") + HexBytes("02 00 00 00  CF FF 00 00"),
        connection.message);
    EXPECT_EQ(0x20000U, connection.flags);
    EXPECT_FALSE(connection.hasOptional);
}

TEST_F(KelcommAlpcClientTest, PortAttributesAreTheProtocols) {
    QueueReply(Reply(0, 0, {}));
    Ping();
    const NtApi::AlpcPortAttributes attributes = native_.ports.connections.at(0).attributes;
    EXPECT_EQ(65519U, attributes.MaxMessageLength);
    EXPECT_EQ(0U, attributes.MemoryBandwidth);
    EXPECT_EQ(0xFFFFFFFFU, attributes.MaxPoolUsage);
    EXPECT_EQ(0xFFFFFFFFU, attributes.MaxSectionSize);
    EXPECT_EQ(0xFFFFFFFFU, attributes.MaxViewSize);
    EXPECT_EQ(0xFFFFFFFFU, attributes.MaxTotalSectionSize);
    EXPECT_EQ(0U, attributes.DupObjectTypes);
}

TEST_F(KelcommAlpcClientTest, OrdinaryProcessLetsTheServerImpersonateIt) {
    QueueReply(Reply(0, 0, {}));
    Ping();
    const NtApi::AlpcPortAttributes attributes = native_.ports.connections.at(0).attributes;
    EXPECT_EQ(0x10000U, attributes.Flags);
    EXPECT_EQ(12U, attributes.SecurityQos.Length);
    EXPECT_EQ(2U, attributes.SecurityQos.ImpersonationLevel);
    EXPECT_EQ(1, attributes.SecurityQos.ContextTrackingMode);
    EXPECT_EQ(0, attributes.SecurityQos.EffectiveOnly);
}

TEST_F(KelcommAlpcClientTest, LocalSystemLetsTheServerIdentifyIt) {
    native_.process.isLocalSystem = true;
    QueueReply(Reply(0, 0, {}));
    Ping();
    const NtApi::AlpcPortAttributes attributes = native_.ports.connections.at(0).attributes;
    EXPECT_EQ(0U, attributes.Flags);
    EXPECT_EQ(1U, attributes.SecurityQos.ImpersonationLevel);
    EXPECT_EQ(1, attributes.SecurityQos.ContextTrackingMode);
    EXPECT_EQ(0, attributes.SecurityQos.EffectiveOnly);
}

TEST_F(KelcommAlpcClientTest, LaterRequestsUseTheSamePort) {
    QueueReply(Reply(0, 0, {}));
    QueueReply(Reply(0, 0, {}));
    Ping();
    Ping();
    EXPECT_EQ(1U, native_.ports.connections.size());
}

TEST_F(KelcommAlpcClientTest, FailedConnectIsTriedTwiceAndFails) {
    native_.Fail("NtAlpcConnectPort");
    EXPECT_EQ(1U, Ping());
    EXPECT_EQ(2U, native_.ports.connections.size());
    EXPECT_TRUE(native_.ports.requests.empty());
}

TEST_F(KelcommAlpcClientTest, HandleOfAFailedConnectIsClosedUnused) {
    native_.Fail("NtAlpcConnectPort");
    native_.ports.leaveHandleOnFailedConnect = true;
    EXPECT_EQ(1U, Ping());
    EXPECT_TRUE(native_.ports.requests.empty());
    EXPECT_EQ(0U, native_.CountLive());
}

TEST_F(KelcommAlpcClientTest, ConnectionWithAPositiveStatusIsUsed) {
    native_.Fail("NtAlpcConnectPort", 1, 0, 0x103);
    native_.ports.leaveHandleOnFailedConnect = true;
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Ping());
    EXPECT_EQ(1U, native_.ports.connections.size());
}

TEST_F(KelcommAlpcClientTest, SystemWithoutAdvancedPortsIsAFailure) {
    native_.Remove("NtAlpcConnectPort");
    EXPECT_EQ(1U, Ping());
}

TEST_F(KelcommAlpcClientTest, ClientWithoutIdsDoesNotConnect) {
    client_->Uninitialize();
    EXPECT_EQ(1U, Ping());
    client_->Initialize(0x31564B51, 0, 0);
    EXPECT_EQ(1U, Ping());
    client_->Uninitialize();
    client_->Initialize(0, 0x61564B51, 0);
    EXPECT_EQ(1U, Ping());
    EXPECT_TRUE(native_.ports.connections.empty());
}

// ---- the request message ----

TEST_F(KelcommAlpcClientTest, RequestIsHeaderFieldsAndPayload) {
    QueueReply(Reply(0, 0, {}));
    Request(TextBytes("abc"), 16);
    // data length 19, total 43; command 3, not growable, length 3, capacity 16
    EXPECT_EQ(HexBytes("13 00 2B 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
                       "03 00 00 00  00 00 00 00  03 00 00 00  10 00 00 00  61 62 63"),
              native_.ports.requests.at(0).message);
}

TEST_F(KelcommAlpcClientTest, GrowableRequestSaysSoAndOffersNoCapacity) {
    QueueReply(Reply(0, 0, {}));
    Kelcomm::CBuffer buffer;
    EXPECT_EQ(0U, client_->RequestToBuffer(0, 3, "abc", 3, &buffer, 0));
    EXPECT_EQ(HexBytes("13 00 2B 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
                       "03 00 00 00  01 00 00 00  03 00 00 00  00 00 00 00  61 62 63"),
              native_.ports.requests.at(0).message);
}

TEST_F(KelcommAlpcClientTest, SynchronousRequestHasAReceiveBufferAndNoTimeLimit) {
    QueueReply(Reply(0, 0, {}));
    Ping();
    const CScriptedPorts::Sent& sent = native_.ports.requests.at(0);
    EXPECT_EQ(0x20000U, sent.flags);
    EXPECT_TRUE(sent.hasReceiveBuffer);
    EXPECT_EQ(65519U, sent.bufferLength);
    EXPECT_FALSE(sent.hasTimeout);
    EXPECT_FALSE(sent.hasView);
}

TEST_F(KelcommAlpcClientTest, TimeLimitIsPassedOn) {
    QueueReply(Reply(0, 0, {}));
    Request({}, 16, 0, -50000000);
    EXPECT_TRUE(native_.ports.requests.at(0).hasTimeout);
    EXPECT_EQ(-50000000, native_.ports.requests.at(0).timeout);
}

TEST_F(KelcommAlpcClientTest, TimeLimitOfAGrowableRequestIsPassedOn) {
    QueueReply(Reply(0, 0, {}));
    Kelcomm::CBuffer buffer;
    EXPECT_EQ(0U, client_->RequestToBuffer(0, 3, "abc", 3, &buffer, -50000000));
    EXPECT_TRUE(native_.ports.requests.at(0).hasTimeout);
    EXPECT_EQ(-50000000, native_.ports.requests.at(0).timeout);
}

TEST_F(KelcommAlpcClientTest, MissingReplyBufferOffersNoCapacity) {
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, client_->Request(0, 3, "abc", 3, nullptr, 16, nullptr, 0));
    EXPECT_EQ(HexBytes("00 00 00 00"), BytesAt(native_.ports.requests.at(0).message, 36, 4));
}

TEST_F(KelcommAlpcClientTest, MissingGrowableBufferIsNotAnnounced) {
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, client_->RequestToBuffer(0, 3, "abc", 3, nullptr, 0));
    EXPECT_EQ(HexBytes("00 00 00 00"), BytesAt(native_.ports.requests.at(0).message, 28, 4));
}

TEST_F(KelcommAlpcClientTest, OneWayRequestIsReleasedAndWantsNothingBack) {
    QueueStatus(0);
    EXPECT_EQ(0U, Request(TextBytes("abc"), 16, 1));
    const CScriptedPorts::Sent& sent = native_.ports.oneWays.at(0);
    EXPECT_EQ(0x10000U, sent.flags);
    EXPECT_FALSE(sent.hasReceiveBuffer);
    EXPECT_EQ(65519U, sent.bufferLength);
    EXPECT_EQ(kUntouchedLength, replyLength_);
    EXPECT_EQ(HexBytes("03 00 00 00  00 00 00 00"),  // length 3, capacity 0
              BytesAt(sent.message, 32, 8));
    EXPECT_EQ(0U, native_.CountCalls("AlpcInitializeMessageAttribute"));
}

TEST_F(KelcommAlpcClientTest, FlagsOtherThanOneWayMeanNothing) {
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(0U, Request(TextBytes("abc"), 16, 0xFFFFFFFE));
    EXPECT_EQ(TextBytes("xyz"), reply_);
    // command 3, not growable, length 3, capacity 16
    EXPECT_EQ(HexBytes("03 00 00 00  00 00 00 00  03 00 00 00  10 00 00 00  61 62 63"),
              BytesAt(native_.ports.requests.at(0).message, 24, 19));
    EXPECT_EQ(43U, native_.ports.requests.at(0).message.size());
}

TEST_F(KelcommAlpcClientTest, OneWayGrowableRequestIsNotMarkedAsGrowable) {
    QueueStatus(0);
    Kelcomm::CBuffer buffer;
    EXPECT_EQ(0U, client_->RequestToBuffer(1, 3, "abc", 3, &buffer, 0));
    EXPECT_EQ(0, native_.ports.oneWays.at(0).message.at(28));
    EXPECT_EQ(0U, buffer.GetSize());
}

// ---- long payloads ----

TEST_F(KelcommAlpcClientTest, LongestInlinePayloadFillsTheMessage) {
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Request(Bytes(65479, 'p'), 0));
    const CScriptedPorts::Sent& sent = native_.ports.requests.at(0);
    ASSERT_EQ(65519U, sent.message.size());
    EXPECT_EQ('p', sent.message.back());
    EXPECT_FALSE(sent.hasView);
    EXPECT_TRUE(native_.ports.sectionSizes.empty());
}

TEST_F(KelcommAlpcClientTest, LongerPayloadTravelsInAView) {
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Request(Bytes(65480, 'p'), 0));
    const CScriptedPorts::Sent& sent = native_.ports.requests.at(0);
    // data length 16, total 40; length 65480
    EXPECT_EQ(HexBytes("10 00 28 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
                       "03 00 00 00  00 00 00 00  C8 FF 00 00  00 00 00 00"),
              sent.message);
    EXPECT_TRUE(sent.hasView);
    EXPECT_EQ(0x60000U, sent.viewFlags);
    EXPECT_EQ(Bytes(65480, 'p'), sent.view);
    EXPECT_EQ(std::vector<std::size_t>({65480}), native_.ports.sectionSizes);
}

TEST_F(KelcommAlpcClientTest, ViewAndSectionOfARequestAreDeleted) {
    QueueReply(Reply(0, 0, {}));
    Request(Bytes(65480), 0);
    EXPECT_EQ(1U, native_.CountCalls("NtAlpcDeleteSectionView"));
    EXPECT_EQ(1U, native_.CountCalls("NtAlpcDeletePortSection"));
    EXPECT_EQ(0U, native_.CountLive("view"));
    EXPECT_EQ(0U, native_.CountLive("section"));
}

TEST_F(KelcommAlpcClientTest, ViewAndSectionAreDeletedWhateverTheOutcome) {
    QueueStatus(0x102);
    EXPECT_EQ(9U, Request(Bytes(65480), 0, 0, -10000));
    QueueStatus(0x103);
    EXPECT_EQ(0U, Request(Bytes(65480), 0));
    EXPECT_EQ(1U, Request(Bytes(65480), 0));
    EXPECT_EQ(4U, native_.ports.sectionSizes.size());
    EXPECT_EQ(0U, native_.CountLive("view"));
    EXPECT_EQ(0U, native_.CountLive("section"));
}

TEST_F(KelcommAlpcClientTest, OneWayPayloadTravelsInAViewToo) {
    QueueStatus(0);
    EXPECT_EQ(0U, Request(Bytes(65480, 'p'), 0, 1));
    EXPECT_EQ(Bytes(65480, 'p'), native_.ports.oneWays.at(0).view);
    EXPECT_EQ(0U, native_.CountLive("section"));
}

TEST_F(KelcommAlpcClientTest, SectionThatCannotBeMadeIsAFailure) {
    native_.Fail("NtAlpcCreatePortSection");
    EXPECT_EQ(1U, Request(Bytes(65480), 0));
    EXPECT_TRUE(native_.ports.requests.empty());
    EXPECT_EQ(2U, native_.CountCalls("NtAlpcCreatePortSection"));  // repeated on a new port
}

TEST_F(KelcommAlpcClientTest, ViewThatCannotBeMadeIsAFailureAndDeletesTheSection) {
    native_.Fail("NtAlpcCreateSectionView");
    EXPECT_EQ(1U, Request(Bytes(65480), 0));
    EXPECT_TRUE(native_.ports.requests.empty());
    EXPECT_EQ(2U, native_.ports.sectionSizes.size());
    EXPECT_EQ(0U, native_.CountLive("section"));
}

TEST_F(KelcommAlpcClientTest, SendAttributesThatCannotBeMadeAreAFailure) {
    // Two calls make the receive attributes; the next one belongs to the send attributes.
    native_.Fail("AlpcInitializeMessageAttribute", CScriptedNative::kAlways, 2);
    EXPECT_EQ(1U, Request(Bytes(65480), 0));
    EXPECT_TRUE(native_.ports.requests.empty());
    EXPECT_TRUE(native_.ports.sectionSizes.empty());
}

TEST_F(KelcommAlpcClientTest, ReceiveAttributesThatCannotBeMadeAreAFailure) {
    native_.Fail("AlpcInitializeMessageAttribute");
    EXPECT_EQ(1U, Ping());
    EXPECT_TRUE(native_.ports.requests.empty());
}

TEST_F(KelcommAlpcClientTest, SystemWithoutAttributesIsAFailure) {
    native_.Remove("AlpcInitializeMessageAttribute");
    EXPECT_EQ(1U, Ping());
    EXPECT_TRUE(native_.ports.requests.empty());
}

TEST_F(KelcommAlpcClientTest, AttributeSizeThatComesWithAnotherStatusIsAFailure) {
    for (const std::uint32_t status : {0U, 0x102U, 0xC0000001U, 0xC0000022U, 0xC0000024U}) {
        native_.ports.viewAttributeQueryStatus = static_cast<NtApi::NtStatus>(status);
        EXPECT_EQ(1U, Ping()) << status;
    }
    EXPECT_TRUE(native_.ports.requests.empty());
}

TEST_F(KelcommAlpcClientTest, SectionViewThatIsTooSmallIsAFailureAndDeleted) {
    native_.ports.sectionViewShortage = 1;
    EXPECT_EQ(1U, Request(Bytes(65480), 0));
    EXPECT_TRUE(native_.ports.requests.empty());
    EXPECT_EQ(0U, native_.CountLive("view"));
    EXPECT_EQ(0U, native_.CountLive("section"));
}

TEST_F(KelcommAlpcClientTest, SectionViewThatIsNowhereIsAFailure) {
    native_.ports.leaveOutSectionViewBase = true;
    EXPECT_EQ(1U, Request(Bytes(65480), 0));
    EXPECT_TRUE(native_.ports.requests.empty());
    EXPECT_EQ(0U, native_.CountCalls("NtAlpcDeleteSectionView"));
    EXPECT_EQ(0U, native_.CountLive("section"));
}

TEST_F(KelcommAlpcClientTest, LargerAttributeBufferThanUsualIsMade) {
    native_.ports.viewAttributeSize = 400;
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Request(Bytes(65480, 'p'), 0));
    EXPECT_EQ(Bytes(65480, 'p'), native_.ports.requests.at(0).view);
}

TEST_F(KelcommAlpcClientTest, AttributeBufferWithoutRoomForAViewIsAFailure) {
    native_.ports.viewAttributeSize = 8;
    EXPECT_EQ(1U, Ping());
    EXPECT_TRUE(native_.ports.requests.empty());
}

// ---- statuses and repeating ----

TEST_F(KelcommAlpcClientTest, FailedExchangeDropsThePortAndRepeatsOnce) {
    QueueStatus(kPortDisconnected);
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(0U, Request(TextBytes("abc"), 16));
    EXPECT_EQ(TextBytes("xyz"), reply_);
    ASSERT_EQ(2U, native_.ports.requests.size());
    EXPECT_EQ(native_.ports.requests[0].message, native_.ports.requests[1].message);
    EXPECT_NE(native_.ports.requests[0].port, native_.ports.requests[1].port);
    EXPECT_EQ(1U, native_.CountLive("alpc port"));
}

TEST_F(KelcommAlpcClientTest, InvalidParameterIsRepeatedHere) {
    QueueStatus(kInvalidParameter);
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Ping());
    EXPECT_EQ(2U, native_.ports.connections.size());
}

TEST_F(KelcommAlpcClientTest, SecondFailureIsFinalAndDropsThePort) {
    EXPECT_EQ(1U, Ping());
    EXPECT_EQ(2U, native_.ports.requests.size());
    EXPECT_EQ(0U, native_.CountLive("alpc port"));
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Ping());
    EXPECT_EQ(3U, native_.ports.connections.size());
    EXPECT_EQ(3U, native_.ports.requests.size());
}

TEST_F(KelcommAlpcClientTest, ServersOwnCodeOneIsRepeatedLikeAFailure) {
    QueueReply(Reply(1, 0, {}));
    QueueReply(Reply(1, 0, {}));
    EXPECT_EQ(1U, Ping());
    EXPECT_EQ(2U, native_.ports.connections.size());
}

TEST_F(KelcommAlpcClientTest, TimeoutIsReportedAndKeepsThePort) {
    QueueStatus(0x102);
    EXPECT_EQ(9U, Request({}, 16, 0, -10000));
    EXPECT_EQ(1U, native_.ports.requests.size());
    EXPECT_EQ(1U, native_.CountLive("alpc port"));
}

TEST_F(KelcommAlpcClientTest, TimedOutOneWayRequestIsReportedToo) {
    QueueStatus(0x102);
    EXPECT_EQ(9U, Request({}, 0, 1, -10000));
}

TEST_F(KelcommAlpcClientTest, OtherPositiveStatusIsSuccessWithoutAReply) {
    CScriptedPorts::Answer answer;
    answer.status = 0x103;
    answer.reply = Reply(0, 3, TextBytes("xyz"));
    native_.ports.Queue(answer);
    EXPECT_EQ(0U, Request({}, 16));
    EXPECT_EQ(kUntouchedLength, replyLength_);
    EXPECT_EQ(Bytes(16, 0xEE), reply_);
}

TEST_F(KelcommAlpcClientTest, OneWayWithAnotherPositiveStatusIsASuccess) {
    QueueStatus(0x103);
    EXPECT_EQ(0U, Request({}, 0, 1));
    EXPECT_EQ(1U, native_.CountLive("alpc port"));
}

TEST_F(KelcommAlpcClientTest, FailedOneWayRequestIsRepeatedOnce) {
    QueueStatus(kPortDisconnected);
    QueueStatus(0);
    EXPECT_EQ(0U, Request({}, 0, 1));
    EXPECT_EQ(2U, native_.ports.oneWays.size());
}

// ---- life cycle ----

TEST_F(KelcommAlpcClientTest, SecondInitializeIsRefused) {
    EXPECT_EQ(4U, client_->Initialize(1, 2, 0));
    client_->Uninitialize();
    EXPECT_EQ(0U, client_->Initialize(1, 0, 0));
    EXPECT_EQ(4U, client_->Initialize(1, 2, 0));  // one id is enough
    client_->Uninitialize();
    EXPECT_EQ(0U, client_->Initialize(0, 2, 0));
    EXPECT_EQ(4U, client_->Initialize(1, 2, 0));
}

TEST_F(KelcommAlpcClientTest, PumpingMessagesIsRefusedFirst) {
    EXPECT_EQ(10U, client_->Initialize(1, 2, 2));
    EXPECT_EQ(10U, client_->Initialize(1, 2, 3));
    client_->Uninitialize();
    EXPECT_EQ(0U, client_->Initialize(1, 2, 0xFFFFFFFD));
}

TEST_F(KelcommAlpcClientTest, UninitializeDisconnectsAnOpenPort) {
    EXPECT_EQ(0U, client_->Uninitialize());
    EXPECT_TRUE(native_.ports.disconnected.empty());
    InitializeClient();
    QueueReply(Reply(0, 0, {}));
    Ping();
    EXPECT_EQ(0U, client_->Uninitialize());
    EXPECT_EQ(std::vector<NtApi::Handle>({native_.ports.requests.at(0).port}),
              native_.ports.disconnected);
    EXPECT_EQ(1U, native_.CountLive("alpc port"));
}

TEST_F(KelcommAlpcClientTest, CloseDisconnectsClosesAndForgetsTheIds) {
    QueueReply(Reply(0, 0, {}));
    Ping();
    EXPECT_EQ(0U, client_->Close());
    EXPECT_EQ(1U, native_.ports.disconnected.size());
    EXPECT_EQ(0U, native_.CountLive());
    EXPECT_EQ(0U, client_->Initialize(1, 2, 0));
}

TEST_F(KelcommAlpcClientTest, ClosingTwiceIsHarmless) {
    EXPECT_EQ(0U, client_->Close());
    EXPECT_EQ(0U, client_->Close());
}

TEST_F(KelcommAlpcClientTest, ClientIsUsableAgainAfterCloseAndInitialize) {
    QueueReply(Reply(0, 0, {}));
    Ping();
    client_->Close();
    InitializeClient();
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Ping());
}

TEST_F(KelcommAlpcClientTest, CloseDisconnectsThenClosesThePortThenTheArea) {
    ProvideEmptyArea();
    QueueReply(Reply(0, 0, {}));
    ASSERT_EQ(0U, Ping());
    ASSERT_EQ(0U, client_->ReadBroadcast(0, nullptr, 0));
    native_.OnCall([this](const std::string& function) {
        if (function == "NtAlpcDisconnectPort") {
            EXPECT_EQ(1U, native_.CountLive("alpc port"));
            EXPECT_EQ(1U, native_.CountLive("mapped area"));
        }
    });
    EXPECT_EQ(std::vector<std::string>({"alpc port", "mapped area", "mapping", "mutex"}),
              GivenBackBy([this] { client_->Close(); }));
    EXPECT_EQ(1U, native_.CountCalls("NtAlpcDisconnectPort"));
}

TEST_F(KelcommAlpcClientTest, ViewOfARequestIsDeletedBeforeItsSection) {
    QueueReply(Reply(0, 0, {}));
    QueueReply(Reply(0, 0, {}));
    Ping();
    EXPECT_EQ(std::vector<std::string>({"view", "section"}),
              GivenBackBy([this] { Request(Bytes(65480), 0); }));
}

using KelcommAlpcClientDeathTest = KelcommAlpcClientTest;

TEST_F(KelcommAlpcClientDeathTest, DestructionWithAnOpenPortEndsTheProcess) {
    QueueReply(Reply(0, 0, {}));
    ASSERT_EQ(0U, Ping());
    EXPECT_DEATH(client_.reset(), "terminate");
}

// ---- threads ----

TEST_F(KelcommAlpcClientTest, SeveralRequestsMayBeInFlight) {
    // Connecting would wait for a request in flight.
    QueueReply(Reply(0, 0, {}));
    ASSERT_EQ(0U, Ping());
    std::atomic<int> inFlight{0};
    native_.ports.defaultAnswer.status = 0;
    native_.ports.defaultAnswer.reply = Reply(0, 0, {});
    native_.ports.defaultAnswer.action = [&](const CScriptedPorts::Sent&) {
        ++inFlight;
        while (inFlight < 2) {
            std::this_thread::yield();
        }
    };
    std::thread other([this] { EXPECT_EQ(0U, Ping()); });
    EXPECT_EQ(0U, Ping());
    other.join();
    EXPECT_EQ(3U, native_.ports.requests.size());
    EXPECT_EQ(1U, native_.ports.connections.size());
}

TEST_F(KelcommAlpcClientTest, FirstRequestsOfTwoThreadsConnectOnce) {
    native_.ports.defaultAnswer.status = 0;
    native_.ports.defaultAnswer.reply = Reply(0, 0, {});
    // Both have seen that there is no port before either connects.
    std::atomic<int> looked{0};
    native_.OnCall([&](const std::string& function) {
        if (function == "RtlReleaseSRWLockShared" && native_.ports.connections.empty()) {
            ++looked;
            while (looked < 2) {
                std::this_thread::yield();
            }
        }
    });
    std::thread other([this] { EXPECT_EQ(0U, Ping()); });
    EXPECT_EQ(0U, Ping());
    other.join();
    EXPECT_EQ(1U, native_.ports.connections.size());
    EXPECT_EQ(1U, native_.CountLive("alpc port"));
}

TEST_F(KelcommAlpcClientTest, WhatChangesThePortOrTheIdsHoldsTheLockExclusively) {
    EXPECT_EQ(1U, native_.CountCalls("RtlAcquireSRWLockExclusive"));  // Initialize
    QueueReply(Reply(0, 0, {}));
    Ping();
    EXPECT_EQ(2U, native_.CountCalls("RtlAcquireSRWLockExclusive"));  // connecting
    Ping();  // fails twice: drop, connect, drop
    EXPECT_EQ(5U, native_.CountCalls("RtlAcquireSRWLockExclusive"));
}

TEST_F(KelcommAlpcClientTest, RequestsAndUninitializeShareTheLock) {
    QueueReply(Reply(0, 0, {}));
    QueueReply(Reply(0, 0, {}));
    Ping();
    EXPECT_EQ(2U, native_.CountCalls("RtlAcquireSRWLockShared"));  // before and after connecting
    Ping();
    EXPECT_EQ(3U, native_.CountCalls("RtlAcquireSRWLockShared"));
    client_->Uninitialize();
    EXPECT_EQ(4U, native_.CountCalls("RtlAcquireSRWLockShared"));
    EXPECT_EQ(2U, native_.CountCalls("RtlAcquireSRWLockExclusive"));
}

TEST_F(KelcommAlpcClientTest, ConnectingDroppingAndClosingHoldTheLockExclusively) {
    std::vector<std::string> calls;
    native_.OnCall([&](const std::string& function) {
        if (function == "NtAlpcConnectPort" || function == "CloseHandle") {
            calls.push_back(function + (native_.CountExclusiveLocks() == 1 ? " exclusive" : ""));
        }
    });
    native_.Fail("OpenProcessToken");  // whose token would be closed, too
    QueueStatus(kPortDisconnected);
    QueueReply(Reply(0, 0, {}));
    EXPECT_EQ(0U, Ping());
    client_->Close();
    EXPECT_EQ(std::vector<std::string>({"NtAlpcConnectPort exclusive", "CloseHandle exclusive",
                                        "NtAlpcConnectPort exclusive", "CloseHandle exclusive"}),
              calls);
}

TEST_F(KelcommAlpcClientTest, ExchangesAndDisconnectingHoldTheLockShared) {
    std::vector<std::string> calls;
    native_.OnCall([&](const std::string& function) {
        if (function == "NtAlpcSendWaitReceivePort" || function == "Release" ||
            function == "NtAlpcDisconnectPort") {
            const bool shared = native_.CountHeldLocks() == 1 && native_.CountExclusiveLocks() == 0;
            calls.push_back(function + (shared ? " shared" : ""));
        }
    });
    QueueReply(Unreleased(Reply(0, 0, {})));
    EXPECT_EQ(0U, Ping());
    client_->Uninitialize();
    EXPECT_EQ(std::vector<std::string>({"NtAlpcSendWaitReceivePort shared", "Release shared",
                                        "NtAlpcDisconnectPort shared"}),
              calls);
}

TEST_F(KelcommAlpcClientTest, BroadcastCanBeReadDuringAnExchange) {
    CScriptedPorts::Answer answer;
    answer.reply = Reply(0, 0, {});
    answer.action = [this](const CScriptedPorts::Sent&) {
        std::uint32_t value = 0;
        EXPECT_EQ(1U, client_->ReadBroadcastValue(0, &value));  // there is no area
    };
    native_.Fail("OpenMutexW");
    native_.ports.Queue(answer);
    EXPECT_EQ(0U, Ping());
}

TEST_F(KelcommAlpcClientTest, UninitializeReachesARequestInFlight) {
    std::atomic<bool> waiting{false};
    CScriptedPorts::Answer answer;
    answer.status = kPortDisconnected;
    answer.action = [&](const CScriptedPorts::Sent&) {
        waiting = true;
        while (native_.CountCalls("NtAlpcDisconnectPort") == 0) {
            std::this_thread::yield();
        }
    };
    native_.ports.Queue(answer);
    std::thread requester([this] { EXPECT_EQ(1U, Ping()); });
    while (!waiting) {
        std::this_thread::yield();
    }
    EXPECT_EQ(0U, client_->Uninitialize());
    requester.join();
    EXPECT_EQ(1U, native_.ports.requests.size());  // without ids there is no second connection
}

TEST_F(KelcommAlpcClientTest, SystemWithoutSlimLocksStillExchanges) {
    for (const char* function :
         {"RtlInitializeSRWLock", "RtlAcquireSRWLockExclusive", "RtlAcquireSRWLockShared",
          "RtlReleaseSRWLockExclusive", "RtlReleaseSRWLockShared"}) {
        native_.Remove(function);
    }
    QueueReply(Reply(0, 3, TextBytes("xyz")));
    EXPECT_EQ(0U, Request({}, 3));
    EXPECT_EQ(TextBytes("xyz"), reply_);
}

}  // namespace

}  // namespace Kyr::Test
