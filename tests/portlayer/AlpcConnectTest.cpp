// Advanced ports: connecting, refusing, disconnecting, the death of either end, and attributes.
#include <future>

#include "portlayer/LayerSettings.h"
#include "tests/portlayer/AlpcPortFixture.h"
#include "tests/portlayer/ChildProcess.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class AlpcConnectTest : public AlpcPortFixture {
  protected:
    Bytes Receive(Handle port) {
        Bytes message(kAlpcMaxMessage);
        std::size_t length = message.size();
        EXPECT_EQ(NtAlpcSendWaitReceivePort(port, 0, nullptr, nullptr, message.data(), &length,
                                            nullptr, nullptr),
                  kStatusSuccess);
        return message;
    }
    NtStatus Accept(Handle server, Bytes& message, bool accept, Handle& accepted) {
        return NtAlpcAcceptConnectPort(&accepted, server, 0, nullptr, nullptr, nullptr,
                                       message.data(), nullptr, accept ? 1 : 0);
    }
};

TEST_F(AlpcConnectTest, UnknownNameIsNotFound) {
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusObjectNameNotFound);
}

TEST_F(AlpcConnectTest, ConnectionMessageCrossesBothWays) {
    const Handle server = CreatePort();
    auto connecting = std::async(std::launch::async, [this] {
        Bytes message = Message(24, ToBytes("KelComm "), 100);
        Handle port = nullptr;
        EXPECT_EQ(TryConnect(port, &message), kStatusSuccess);
        EXPECT_EQ(Kind(message.data()), kLpcConnectionReply);
        EXPECT_EQ(AlpcData(message.data()), ToBytes("from him"));
        return port;
    });
    Bytes message = Receive(server);
    EXPECT_EQ(Kind(message.data()), kLpcConnectionRequest);
    EXPECT_EQ(AlpcData(message.data()), ToBytes("KelComm "));
    std::memcpy(message.data() + 24, "from him", 8);
    Handle accepted = nullptr;
    EXPECT_EQ(Accept(server, message, true, accepted), kStatusSuccess);
    for (const Handle handle : {connecting.get(), accepted, server}) {
        CloseHandle(handle);
    }
}

TEST_F(AlpcConnectTest, RefusedClientIsTold) {
    const Handle server = CreatePort();
    auto connecting = std::async(std::launch::async, [this] {
        Handle port = nullptr;
        return TryConnect(port);
    });
    Bytes message = Receive(server);
    Handle accepted = nullptr;
    EXPECT_EQ(Accept(server, message, false, accepted), kStatusSuccess);
    EXPECT_EQ(connecting.get(), kStatusPortConnectionRefused);
    EXPECT_EQ(Accept(server, message, true, accepted), kStatusReplyMessageMismatch);
    CloseHandle(server);
}

TEST_F(AlpcConnectTest, ConnectTimesOutWhenNobodyAccepts) {
    const Handle server = CreatePort();
    Handle port = nullptr;
    std::int64_t timeout = Within(std::chrono::milliseconds(3));
    EXPECT_EQ(TryConnect(port, nullptr, &timeout), kStatusTimeout);
    CloseHandle(server);
}

TEST_F(AlpcConnectTest, LegacyClientIsNotServedByAnAdvancedPort) {
    Serve([](ReceivedCall&) {});
    Handle port = nullptr;
    EXPECT_EQ(NtConnectPort(&port, Name(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              kStatusPortConnectionRefused);
}

TEST_F(AlpcConnectTest, ServerHearsOfAClientThatCloses) {
    std::promise<Handle> closed;
    Serve([&](ReceivedCall& call) {
        if (Kind(call.message.data()) == kLpcPortClosed) {
            closed.set_value(call.client);
        }
    });
    CloseHandle(Connect());
    EXPECT_NE(closed.get_future().get(), nullptr);
}

TEST_F(AlpcConnectTest, DisconnectingEndsTheWaitAndThePort) {
    Serve(Silence());
    const Handle port = Connect();
    auto asking = AskInVain(port);
    EXPECT_EQ(NtAlpcDisconnectPort(port, 0), kStatusSuccess);
    EXPECT_EQ(asking.get(), kStatusPortDisconnected);
    Bytes reply;
    EXPECT_EQ(Exchange(port, AlpcMessage({}), reply), kStatusPortDisconnected);
    EXPECT_EQ(SendOneWay(port, AlpcMessage({})), kStatusPortDisconnected);
    EXPECT_EQ(CloseHandle(port), 1);
}

TEST_F(AlpcConnectTest, ClientThatTheServerDropsIsDisconnected) {
    Serve(OnRequests([](ReceivedCall& call) { NtAlpcDisconnectPort(call.client, 0); }));
    ExpectGivenUp();
}

TEST_F(AlpcConnectTest, ClientThatTheServerDropsLosesItsMessageWhenTheLayerSaysSo) {
    PortLayer::SetAlpcServerGoneStatus(kStatusMessageLost);
    Serve(OnRequests([](ReceivedCall& call) { NtAlpcDisconnectPort(call.client, 0); }));
    const Handle port = Connect();
    Bytes reply;
    EXPECT_EQ(Exchange(port, AlpcMessage({}), reply), static_cast<NtStatus>(0xC0000701));
    // A port that is known to be dead says so.
    EXPECT_EQ(Exchange(port, AlpcMessage({}), reply), static_cast<NtStatus>(0xC0000037));
    CloseHandle(port);
    PortLayer::SetAlpcServerGoneStatus(kStatusPortDisconnected);
}

TEST_F(AlpcConnectTest, ServerThatClosesEndsEveryWait) {
    Serve(Silence());
    const Handle port = Connect();
    auto first = AskInVain(port);
    StopServer();
    EXPECT_EQ(first.get(), kStatusPortDisconnected);
}

TEST_F(AlpcConnectTest, KilledServerDisconnects) {
    CChildProcess server([this](CChildProcess& self) {
        const Handle port = CreatePort();
        self.Ready();
        Bytes message = Receive(port);
        Handle accepted = nullptr;
        Accept(port, message, true, accepted);
        Receive(port);
        self.Exit(1);
    });
    server.AwaitReady();
    ExpectGivenUp();
    server.ExitCode();
    Handle again = nullptr;
    EXPECT_EQ(TryConnect(again), kStatusObjectNameNotFound);
    ForgetName();
}

TEST_F(AlpcConnectTest, ClientThatDiesInMidRequestLeavesNothing) {
    CChildProcess child([this](CChildProcess& self) {
        self.AwaitGo();
        Ask(Connect(), ToBytes("last words"));
    });
    std::promise<void> asked;
    std::promise<NtStatus> replied;
    Bytes request;
    Serve([&](ReceivedCall& call) {
        if (Kind(call.message.data()) == kLpcRequest) {
            request = call.message;
            asked.set_value();
        } else if (Kind(call.message.data()) == kLpcPortClosed) {
            ReceivedCall open{call.port, call.client, request, call.attributes};
            replied.set_value(open.Reply({}));
        }
    });
    child.Go();
    asked.get_future().get();
    child.Kill();
    EXPECT_EQ(replied.get_future().get(), kStatusInvalidMessage);
}

TEST_F(AlpcConnectTest, ReceiveTimesOut) {
    const Handle server = CreatePort(100);
    Bytes message(100);
    std::size_t length = message.size();
    std::int64_t timeout = Within(std::chrono::milliseconds(2));
    EXPECT_EQ(NtAlpcSendWaitReceivePort(server, 0, nullptr, nullptr, message.data(), &length,
                                        nullptr, &timeout),
              kStatusTimeout);
    CloseHandle(server);
}

TEST_F(AlpcConnectTest, AttributeBufferIsSizedFirst) {
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

TEST_F(AlpcConnectTest, AttributeBodiesStandHighestBitFirst) {
    CAttributes both;
    auto* const start = reinterpret_cast<std::uint8_t*>(both.Get());
    EXPECT_EQ(reinterpret_cast<std::uint8_t*>(&both.View()), start + 8);
    EXPECT_EQ(reinterpret_cast<std::uint8_t*>(&both.Context()),
              start + 8 + sizeof(AlpcDataViewAttr));
    EXPECT_EQ(AlpcGetMessageAttribute(both.Get(), kAlpcMessageHandleAttribute), nullptr);
}

}  // namespace

}  // namespace Kyr::Test
