// Legacy ports: names, connecting, refusing, closing, and the death of either end.
#include <atomic>
#include <future>

#include "tests/portlayer/ChildProcess.h"
#include "tests/portlayer/LpcPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class LpcConnectTest : public LpcPortFixture {
  protected:
    Bytes Receive(Handle port) {
        Bytes message(LpcLayout::kMaxMessage);
        EXPECT_EQ(NtReplyWaitReceivePortEx(port, nullptr, nullptr, message.data(), nullptr),
                  kStatusSuccess);
        return message;
    }
    static void Ignore(LpcCall&) {}
    std::future<NtStatus> ConnectInBackground() {
        return std::async(std::launch::async, [this] {
            Handle port = nullptr;
            return TryConnect(port);
        });
    }
};

TEST_F(LpcConnectTest, UnknownNameIsNotFound) {
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusObjectNameNotFound);
    EXPECT_EQ(port, nullptr);
}

TEST_F(LpcConnectTest, NameEndsWithItsPort) {
    Serve(Ignore);
    StopServer();
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusObjectNameNotFound);
}

TEST_F(LpcConnectTest, NameInUseCollides) {
    Serve(Ignore);
    Handle second = nullptr;
    EXPECT_EQ(NtCreatePort(&second, Attributes(), 0, 100, 0), kStatusObjectNameCollision);
}

TEST_F(LpcConnectTest, NameLeftByADeadProcessIsTakenOver) {
    CChildProcess child([this](CChildProcess& self) {
        CreatePort();
        self.Ready();
        self.WaitForEver();
    });
    child.AwaitReady();
    child.Kill();
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusObjectNameNotFound);
    Serve(Ignore);
    EXPECT_EQ(CloseHandle(Connect()), 1);
}

TEST_F(LpcConnectTest, LettersOfEitherCaseAreOneName) {
    Serve(Ignore);
    UnicodeString name;
    RtlInitUnicodeString(&name, u"\\basenamedobjects\\CONTRACTPORT");
    Handle port = nullptr;
    EXPECT_EQ(NtConnectPort(&port, &name, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              kStatusSuccess);
    CloseHandle(port);
}

TEST_F(LpcConnectTest, PortsLongestMessageIsToldAndBoundsTheClient) {
    const Handle server = CreatePort(100);
    auto connecting = std::async(std::launch::async, [] {
        Handle port = nullptr;
        std::uint32_t longest = 0;
        EXPECT_EQ(
            NtConnectPort(&port, Name(), nullptr, nullptr, nullptr, &longest, nullptr, nullptr),
            kStatusSuccess);
        EXPECT_EQ(longest, 100u);
        return port;
    });
    Bytes message = Receive(server);
    Handle accepted = nullptr;
    NtAcceptConnectPort(&accepted, nullptr, message.data(), 1, nullptr, nullptr);
    NtCompleteConnectPort(accepted);
    const Handle port = connecting.get();
    Bytes request = LpcMessage(Pattern(100 - LpcLayout::kHeaderSize + 1));
    EXPECT_EQ(NtRequestPort(port, request.data()), kStatusPortMessageTooLong);
    for (const Handle handle : {port, accepted, server}) {
        CloseHandle(handle);
    }
}

TEST_F(LpcConnectTest, PortLimitsBeyondTheSystemsAreInvalid) {
    Handle port = nullptr;
    EXPECT_EQ(NtCreatePort(&port, Attributes(), 0, LpcLayout::kMaxMessage + 1, 0),
              kStatusInvalidParameter4);
    EXPECT_EQ(NtCreatePort(&port, Attributes(), LpcLayout::kMaxMessage, 100, 0),
              kStatusInvalidParameter3);
}

TEST_F(LpcConnectTest, InformationCrossesBothWays) {
    const Handle server = CreatePort();
    auto connecting = std::async(std::launch::async, [this] {
        Bytes information = ToBytes("KelComm ");
        Handle port = nullptr;
        EXPECT_EQ(TryConnect(port, &information), kStatusSuccess);
        EXPECT_EQ(information, ToBytes("from him"));
        return port;
    });
    Bytes message = Receive(server);
    EXPECT_EQ(Kind(message.data()), kLpcConnectionRequest);
    EXPECT_EQ(LpcData(message.data()), ToBytes("KelComm "));
    std::memcpy(message.data() + LpcLayout::kHeaderSize, "from him", 8);
    Handle accepted = nullptr;
    EXPECT_EQ(NtAcceptConnectPort(&accepted, nullptr, message.data(), 1, nullptr, nullptr),
              kStatusSuccess);
    EXPECT_EQ(NtCompleteConnectPort(accepted), kStatusSuccess);
    for (const Handle handle : {connecting.get(), accepted, server}) {
        CloseHandle(handle);
    }
}

TEST_F(LpcConnectTest, ClientWaitsForTheCompletion) {
    const Handle server = CreatePort();
    std::atomic<bool> completed{false};
    auto connecting = std::async(std::launch::async, [&] {
        const Handle port = Connect();
        EXPECT_TRUE(completed.load());
        return port;
    });
    Bytes message = Receive(server);
    Handle accepted = nullptr;
    NtAcceptConnectPort(&accepted, nullptr, message.data(), 1, nullptr, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    completed = true;
    EXPECT_EQ(NtCompleteConnectPort(accepted), kStatusSuccess);
    EXPECT_EQ(NtCompleteConnectPort(accepted), kStatusPortDisconnected);
    for (const Handle handle : {connecting.get(), accepted, server}) {
        CloseHandle(handle);
    }
}

TEST_F(LpcConnectTest, RefusedClientIsTold) {
    const Handle server = CreatePort();
    auto connecting = ConnectInBackground();
    Bytes message = Receive(server);
    Handle accepted = server;
    EXPECT_EQ(NtAcceptConnectPort(&accepted, nullptr, message.data(), 0, nullptr, nullptr),
              kStatusSuccess);
    EXPECT_EQ(accepted, nullptr);
    EXPECT_EQ(connecting.get(), kStatusPortConnectionRefused);
    EXPECT_EQ(NtAcceptConnectPort(&accepted, nullptr, message.data(), 1, nullptr, nullptr),
              kStatusReplyMessageMismatch);
    CloseHandle(server);
}

TEST_F(LpcConnectTest, ServerThatClosesItsPortRefusesWaitingClients) {
    const Handle server = CreatePort();
    auto connecting = ConnectInBackground();
    Receive(server);
    CloseHandle(server);
    EXPECT_EQ(connecting.get(), kStatusPortConnectionRefused);
}

TEST_F(LpcConnectTest, ContextTellsTheClientsApart) {
    std::vector<std::uintptr_t> contexts;
    Serve(OnRequests([&](LpcCall& call) {
        contexts.push_back(reinterpret_cast<std::uintptr_t>(call.context));
        call.Reply({});
    }));
    const Handle first = Connect();
    const Handle second = Connect();
    Ask(second, {});
    Ask(first, {});
    CloseHandle(first);
    CloseHandle(second);
    StopServer();
    EXPECT_EQ(contexts, (std::vector<std::uintptr_t>{2, 1}));
}

TEST_F(LpcConnectTest, ServerHearsOfAClientThatCloses) {
    std::promise<std::uintptr_t> closed;
    Serve([&](LpcCall& call) {
        if (Kind(call.message.data()) == kLpcPortClosed) {
            closed.set_value(reinterpret_cast<std::uintptr_t>(call.context));
        }
    });
    CloseHandle(Connect());
    EXPECT_EQ(closed.get_future().get(), 1u);
}

TEST_F(LpcConnectTest, ClientThatDiesInMidRequestLeavesAMismatch) {
    std::promise<void> asked;
    std::promise<NtStatus> replied;
    Bytes request;
    CChildProcess child([this](CChildProcess& self) {
        self.AwaitGo();
        const Handle port = Connect();
        Ask(port, ToBytes("last words"));
    });
    Serve([&](LpcCall& call) {
        if (Kind(call.message.data()) == kLpcRequest) {
            request = call.message;
            asked.set_value();
        } else if (Kind(call.message.data()) == kLpcPortClosed) {
            LpcCall open{call.port, request, nullptr};
            replied.set_value(open.Reply({}));
        }
    });
    child.Go();
    asked.get_future().get();
    child.Kill();
    EXPECT_EQ(replied.get_future().get(), kStatusReplyMessageMismatch);
}

TEST_F(LpcConnectTest, ServerThatClosesItsPortLosesTheReply) {
    Serve(Silence());
    const Handle port = Connect();
    auto asking = AskInVain(port);
    StopServer();
    EXPECT_EQ(asking.get(), kStatusLpcReplyLost);
    Bytes reply;
    EXPECT_EQ(Exchange(port, LpcMessage({}), reply), kStatusPortDisconnected);
    Bytes message = LpcMessage({});
    EXPECT_EQ(NtRequestPort(port, message.data()), kStatusPortDisconnected);
}

TEST_F(LpcConnectTest, KilledServerLosesTheReply) {
    CChildProcess server([this](CChildProcess& self) {
        const Handle port = CreatePort();
        self.Ready();
        Bytes message = Receive(port);
        Handle accepted = nullptr;
        NtAcceptConnectPort(&accepted, nullptr, message.data(), 1, nullptr, nullptr);
        NtCompleteConnectPort(accepted);
        Receive(port);
        self.Exit(1);
    });
    server.AwaitReady();
    const Handle port = Connect();
    Bytes reply;
    EXPECT_EQ(Exchange(port, LpcMessage({}), reply), kStatusLpcReplyLost);
    EXPECT_EQ(Exchange(port, LpcMessage({}), reply), kStatusPortDisconnected);
    CloseHandle(port);
    server.ExitCode();
    ForgetName();
}

TEST_F(LpcConnectTest, ClosingTheClientsHandleEndsItsWait) {
    Serve(Silence());
    const Handle port = Connect();
    auto asking = AskInVain(port);
    CloseHandle(port);
    EXPECT_EQ(asking.get(), kStatusLpcReplyLost);
}

TEST_F(LpcConnectTest, ReceiveTimesOut) {
    const Handle server = CreatePort();
    Bytes message(LpcLayout::kMaxMessage);
    std::int64_t timeout = Within(std::chrono::milliseconds(2));
    EXPECT_EQ(NtReplyWaitReceivePortEx(server, nullptr, nullptr, message.data(), &timeout),
              kStatusTimeout);
    timeout = 0;
    EXPECT_EQ(NtReplyWaitReceivePortEx(server, nullptr, nullptr, message.data(), &timeout),
              kStatusTimeout);
    CloseHandle(server);
}

TEST_F(LpcConnectTest, ClosingTheServersHandleEndsItsWait) {
    const Handle server = CreatePort();
    auto waiting = std::async(std::launch::async, [&] {
        Bytes message(LpcLayout::kMaxMessage);
        return NtReplyWaitReceivePortEx(server, nullptr, nullptr, message.data(), nullptr);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    CloseHandle(server);
    const NtStatus status = waiting.get();
    EXPECT_TRUE(status == kStatusPortClosed || status == kStatusInvalidHandle) << status;
}

}  // namespace

}  // namespace Kyr::Test
