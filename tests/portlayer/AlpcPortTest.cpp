// Advanced ports: what they alone have of connecting, attributes, flags, time-outs and releases.
#include <future>

#include "portlayer/LayerSettings.h"
#include "tests/portlayer/ChildProcess.h"
#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class AlpcPortTest : public AlpcPortFixture {};

TEST_F(AlpcPortTest, ConnectTimesOutWhenNobodyAccepts) {
    CreatePort();
    EXPECT_EQ(TryConnect(std::chrono::milliseconds(3)), kStatusTimeout);
}

TEST_F(AlpcPortTest, LegacyClientIsNotServed) {
    Serve(Ignore);
    Handle port = nullptr;
    EXPECT_EQ(NtConnectPort(&port, Name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              kStatusPortConnectionRefused);
}

TEST_F(AlpcPortTest, DisconnectingEndsTheWaitAndThePort) {
    Serve(Silence());
    const Handle port = Connect();
    auto asking = AskInVain(port);
    EXPECT_EQ(NtAlpcDisconnectPort(port, 0), kStatusSuccess);
    EXPECT_EQ(asking.get(), kStatusPortDisconnected);
    EXPECT_EQ(TryAsk(port), kStatusPortDisconnected);
    EXPECT_EQ(SendOneWay(port, AlpcMessage({})), kStatusPortDisconnected);
    EXPECT_EQ(CloseHandle(port), 1);
}

TEST_F(AlpcPortTest, ClientThatTheServerDropsIsDisconnected) {
    Serve(OnRequests([](ReceivedCall& call) { NtAlpcDisconnectPort(call.client, 0); }));
    ExpectGivenUp();
}

TEST_F(AlpcPortTest, ClientThatTheServerDropsLosesItsMessageWhenTheLayerSaysSo) {
    PortLayer::SetAlpcServerGoneStatus(kStatusMessageLost);
    Serve(OnRequests([](ReceivedCall& call) { NtAlpcDisconnectPort(call.client, 0); }));
    const Handle port = Connect();
    EXPECT_EQ(TryAsk(port), static_cast<NtStatus>(0xC0000701));
    // A port that is known to be dead says so.
    EXPECT_EQ(TryAsk(port), static_cast<NtStatus>(0xC0000037));
    PortLayer::SetAlpcServerGoneStatus(kStatusPortDisconnected);
}

TEST_F(AlpcPortTest, AttributeBufferIsSizedFirst) {
    constexpr std::size_t kViewSize = sizeof(void*) == 4 ? 8 + 16 : 8 + 32;
    std::size_t size = 0;
    EXPECT_EQ(AlpcInitializeMessageAttribute(kAlpcMessageViewAttribute, nullptr, 0, &size),
              kStatusBufferTooSmall);
    EXPECT_EQ(size, kViewSize);
    std::vector<std::uint64_t> buffer(8, 0xEEEEEEEEEEEEEEEE);
    auto* const attributes = reinterpret_cast<AlpcMessageAttributes*>(buffer.data());
    EXPECT_EQ(
        AlpcInitializeMessageAttribute(kAlpcMessageViewAttribute, attributes, size - 1, &size),
        kStatusBufferTooSmall);
    EXPECT_EQ(buffer[0], 0xEEEEEEEEEEEEEEEE);
    EXPECT_EQ(AlpcInitializeMessageAttribute(kAlpcMessageViewAttribute, attributes, size, &size),
              kStatusSuccess);
    EXPECT_EQ(attributes->AllocatedAttributes, kAlpcMessageViewAttribute);
    EXPECT_EQ(attributes->ValidAttributes, 0u);
    EXPECT_EQ(buffer[1], 0xEEEEEEEEEEEEEEEE);
}

TEST_F(AlpcPortTest, AttributeBodiesStandHighestBitFirst) {
    CAttributes both;
    auto* const start = reinterpret_cast<std::uint8_t*>(both.Get());
    EXPECT_EQ(reinterpret_cast<std::uint8_t*>(&both.View()), start + 8);
    EXPECT_EQ(reinterpret_cast<std::uint8_t*>(&both.Context()),
              start + 8 + sizeof(AlpcDataViewAttr));
    EXPECT_EQ(AlpcGetMessageAttribute(both.Get(), kAlpcMessageHandleAttribute), nullptr);
}

TEST_F(AlpcPortTest, LengthsThatDoNotAddUpAreInvalid) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    for (const std::uint16_t total : {23, 27, 29, 0}) {
        Bytes request = AlpcMessage(ToBytes("abcd"));
        Put(request.data(), 2, total);
        Bytes reply;
        EXPECT_EQ(Exchange(port, request, reply), kStatusInvalidParameter) << total;
    }
}

TEST_F(AlpcPortTest, SynchronousRequestNeedsAReceiveBufferAndCannotReleaseAsWell) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes request = AlpcMessage({});
    std::size_t length = request.size();
    EXPECT_EQ(NtAlpcSendWaitReceivePort(port, kAlpcSynchronous, request.data(), nullptr, nullptr,
                                        nullptr, nullptr, nullptr),
              kStatusLpcReceiveBufferExpected);
    EXPECT_EQ(
        NtAlpcSendWaitReceivePort(port, kAlpcSynchronous | kAlpcReleaseMessage, request.data(),
                                  nullptr, request.data(), &length, nullptr, nullptr),
        kStatusInvalidParameter2);
}

TEST_F(AlpcPortTest, KindAndIdsAreTheSystems) {
    std::uint32_t messageId = 0;
    Serve(OnRequests([&](ReceivedCall& call) {
        // The sender did not release it, so the continuation flag stands beside the kind.
        EXPECT_EQ(Get<std::uint16_t>(call.message.data(), 4), 0x2001);
        EXPECT_EQ(Get<std::uint32_t>(call.message.data(), 8), CurrentProcessId());
        EXPECT_NE(Get<std::uint32_t>(call.message.data(), 12), 0u);
        messageId = Get<std::uint32_t>(call.message.data(), 16);
        EXPECT_NE(messageId, 0u);
        EXPECT_EQ(call.attributes.Context().MessageId, messageId);
        call.Reply({});
    }));
    Bytes reply;
    ASSERT_EQ(Exchange(Connect(), AlpcMessage({}), reply), kStatusSuccess);
    EXPECT_EQ(Get<std::uint16_t>(reply.data(), 4), 2);
    EXPECT_EQ(Get<std::uint32_t>(reply.data(), 16), messageId);
    EXPECT_EQ(reply.size(), 24u);
}

TEST_F(AlpcPortTest, UnreleasedReplyIsReleasedOnce) {
    Serve(OnRequests([](ReceivedCall& call) {
        EXPECT_EQ(call.Reply(ToBytes("kept"), 0, nullptr), kStatusSuccess);
    }));
    const Handle port = Connect();
    Bytes reply;
    ASSERT_EQ(Exchange(port, AlpcMessage({}), reply), kStatusSuccess);
    EXPECT_EQ(Get<std::uint16_t>(reply.data(), 4), 0x2002);
    EXPECT_EQ(Release(port, reply, nullptr), kStatusSuccess);
    EXPECT_EQ(Release(port, reply, nullptr), kStatusInvalidMessage);
}

TEST_F(AlpcPortTest, ReplyBeyondTheBufferIsTooLarge) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes request = AlpcMessage(Pattern(100));
    Bytes reply(60);
    std::size_t length = reply.size();
    EXPECT_EQ(NtAlpcSendWaitReceivePort(port, kAlpcSynchronous, request.data(), nullptr,
                                        reply.data(), &length, nullptr, nullptr),
              kStatusBufferTooSmall);
    EXPECT_EQ(length, 124u);
    EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x"));
}

TEST_F(AlpcPortTest, ServersSmallBufferKeepsTheMessage) {
    const Handle server = CreatePort(100);
    Bytes information = ToBytes("hello");
    auto connecting = ConnectInBackground(&information);
    Bytes message(100);
    std::size_t length = 99;
    EXPECT_EQ(NtAlpcSendWaitReceivePort(server, 0, nullptr, nullptr, message.data(), &length,
                                        nullptr, nullptr),
              kStatusBufferTooSmall);
    EXPECT_EQ(length, 100u);
    EXPECT_EQ(NtAlpcSendWaitReceivePort(server, 0, nullptr, nullptr, message.data(), &length,
                                        nullptr, nullptr),
              kStatusSuccess);
    EXPECT_EQ(length, 29u);
    EXPECT_EQ(AlpcData(message.data()), ToBytes("hello"));
    Accept(server, message);
    EXPECT_EQ(connecting.get(), kStatusSuccess);
}

// The client's buffer becomes the server's message; its total may exceed what it holds.
TEST_F(AlpcPortTest, ConnectionMessageBecomesTheServersReply) {
    const Handle server = CreatePort();
    auto connecting = std::async(std::launch::async, [this] {
        Bytes message = Message(24, ToBytes("KelComm "), 100);
        std::size_t length = message.size();
        AlpcPortAttributes attributes = {};
        attributes.MaxMessageLength = 0xFFEF;
        Handle port = nullptr;
        EXPECT_EQ(NtAlpcConnectPort(&port, Name(), nullptr, &attributes, kAlpcSynchronous, nullptr,
                                    message.data(), &length, nullptr, nullptr, nullptr),
                  kStatusSuccess);
        EXPECT_EQ(Kind(message.data()), kLpcConnectionReply);
        CloseLater(port);
    });
    Bytes request = Receive(server);
    EXPECT_EQ(Kind(request.data()), kLpcConnectionRequest);
    Accept(server, request);
    connecting.get();
}

TEST_F(AlpcPortTest, RequestTimesOutAndTheLateReplyIsDropped) {
    std::promise<void> timedOut;
    auto waitForTimeOut = timedOut.get_future().share();
    Serve(OnRequests([&](ReceivedCall& call) {
        if (call.Data() == ToBytes("slow")) {
            waitForTimeOut.wait();
        }
        EXPECT_EQ(call.Reply(call.Data(), 0, nullptr), kStatusSuccess);
    }));
    const Handle port = Connect();
    Bytes reply;
    EXPECT_EQ(Exchange(port, AlpcMessage(ToBytes("slow")), reply, nullptr, nullptr,
                       std::chrono::milliseconds(3)),
              kStatusTimeout);
    timedOut.set_value();
    ASSERT_EQ(Exchange(port, AlpcMessage(ToBytes("next")), reply), kStatusSuccess);
    EXPECT_EQ(AlpcData(reply.data()), ToBytes("next"));
    EXPECT_EQ(Release(port, reply, nullptr), kStatusSuccess);
}

TEST_F(AlpcPortTest, AnswerInTimeBeatsTheTimeOut) {
    Serve(OnRequests(Echo));
    Bytes reply;
    EXPECT_EQ(Exchange(Connect(), AlpcMessage(ToBytes("x")), reply, nullptr, nullptr,
                       std::chrono::seconds(60)),
              kStatusSuccess);
    EXPECT_EQ(AlpcData(reply.data()), ToBytes("x"));
}

TEST_F(AlpcPortTest, TimedOutThreadsDoNotDisturbTheOthers) {
    Serve(OnRequests([](ReceivedCall& call) {
        if (call.Data() != ToBytes("forget me")) {
            call.Reply(call.Data());
        }
    }));
    const Handle port = Connect();
    std::thread impatient([&] {
        for (int i = 0; i < 20; ++i) {
            Bytes reply;
            EXPECT_EQ(Exchange(port, AlpcMessage(ToBytes("forget me")), reply, nullptr, nullptr,
                               std::chrono::milliseconds(1)),
                      kStatusTimeout);
        }
    });
    for (int i = 0; i < 300; ++i) {
        const Bytes data = ToBytes(std::to_string(i));
        EXPECT_EQ(Ask(port, data), data);
    }
    impatient.join();
}

}  // namespace

}  // namespace Kyr::Test
