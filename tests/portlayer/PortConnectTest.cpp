// Ports of both kinds: names, connecting, refusing, closing, and the death of either end.
#include "tests/portlayer/ChildProcess.h"
#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class PortConnectTest : public ServedPortFixture, public testing::WithParamInterface<PortKind> {
  protected:
    PortConnectTest() : ServedPortFixture(GetParam()) {}
};

TEST_P(PortConnectTest, UnknownNameIsNotFound) {
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusObjectNameNotFound);
    EXPECT_EQ(port, nullptr);
}

TEST_P(PortConnectTest, NameEndsWithItsPort) {
    Serve(Ignore);
    StopServer();
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusObjectNameNotFound);
}

TEST_P(PortConnectTest, NameInUseCollides) {
    Serve(Ignore);
    Handle second = nullptr;
    EXPECT_EQ(TryCreatePort(second, 100), kStatusObjectNameCollision);
}

TEST_P(PortConnectTest, NameLeftByADeadProcessIsTakenOver) {
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

TEST_P(PortConnectTest, InformationCrossesBothWays) {
    const Handle server = CreatePort();
    auto connecting = std::async(std::launch::async, [this] {
        Bytes information = ToBytes("KelComm ");
        Handle port = nullptr;
        EXPECT_EQ(TryConnect(port, &information), kStatusSuccess);
        EXPECT_EQ(information, ToBytes("from him"));
        return port;
    });
    Bytes request = Receive(server);
    EXPECT_EQ(Kind(request.data()), kLpcConnectionRequest);
    EXPECT_EQ(DataOf(request), ToBytes("KelComm "));
    std::memcpy(request.data() + HeaderSize(), "from him", 8);
    Handle accepted = nullptr;
    EXPECT_EQ(Answer(server, request, true, accepted), kStatusSuccess);
    for (const Handle handle : {connecting.get(), accepted, server}) {
        CloseHandle(handle);
    }
}

TEST_P(PortConnectTest, RefusedClientIsTold) {
    const Handle server = CreatePort();
    auto connecting = ConnectInBackground();
    Bytes request = Receive(server);
    Handle accepted = server;
    EXPECT_EQ(Answer(server, request, false, accepted), kStatusSuccess);
    EXPECT_EQ(accepted, nullptr);
    EXPECT_EQ(connecting.get(), kStatusPortConnectionRefused);
    EXPECT_EQ(Answer(server, request, true, accepted), kStatusReplyMessageMismatch);
    CloseHandle(server);
}

TEST_P(PortConnectTest, ServerThatClosesItsPortRefusesWaitingClients) {
    const Handle server = CreatePort();
    auto connecting = ConnectInBackground();
    Receive(server);
    CloseHandle(server);
    EXPECT_EQ(connecting.get(), kStatusPortConnectionRefused);
}

TEST_P(PortConnectTest, ContextTellsTheClientsApart) {
    std::vector<std::uintptr_t> contexts;
    Serve(OnRequests([&](ReceivedCall& call) {
        contexts.push_back(reinterpret_cast<std::uintptr_t>(call.attributes.Context().PortContext));
        call.Reply({});
    }));
    const Handle first = Connect();
    const Handle second = Connect();
    Ask(second, {});
    Ask(first, {});
    StopServer();
    EXPECT_EQ(contexts, (std::vector<std::uintptr_t>{2, 1}));
}

TEST_P(PortConnectTest, ServerHearsOfAClientThatCloses) {
    std::promise<Handle> closed;
    Serve([&](ReceivedCall& call) {
        if (Kind(call.message.data()) == kLpcPortClosed) {
            closed.set_value(call.client);
        }
    });
    CloseHandle(Connect());
    EXPECT_NE(closed.get_future().get(), nullptr);
}

TEST_P(PortConnectTest, ClientThatDiesInMidRequestCannotBeAnswered) {
    CChildProcess child([this](CChildProcess& self) {
        self.AwaitGo();
        Ask(Connect(), ToBytes("last words"));
    });
    std::promise<void> asked;
    std::promise<NtStatus> replied;
    Bytes request;
    Serve([&](ReceivedCall& call) {
        if (call.IsRequest()) {
            request = call.message;
            asked.set_value();
        } else if (Kind(call.message.data()) == kLpcPortClosed) {
            ReceivedCall open{GetParam(), call.port, call.client, request, call.attributes};
            replied.set_value(open.Reply({}));
        }
    });
    child.Go();
    asked.get_future().get();
    child.Kill();
    EXPECT_EQ(replied.get_future().get(), NoSuchRequest());
}

TEST_P(PortConnectTest, ServerThatClosesItsPortEndsEveryWait) {
    Serve(Silence());
    const Handle port = Connect();
    auto asking = AskInVain(port);
    StopServer();
    EXPECT_EQ(asking.get(), ServerGone());
    Bytes reply;
    EXPECT_EQ(Exchange(port, MakeMessage({}), reply), kStatusPortDisconnected);
    EXPECT_EQ(SendOneWay(port, MakeMessage({})), kStatusPortDisconnected);
}

TEST_P(PortConnectTest, KilledServerEndsEveryWait) {
    CChildProcess server([this](CChildProcess& self) {
        const Handle port = CreatePort();
        self.Ready();
        Bytes request = Receive(port);
        Handle accepted = nullptr;
        Answer(port, request, true, accepted);
        Receive(port);
        self.Exit(1);
    });
    server.AwaitReady();
    const Handle port = Connect();
    Bytes reply;
    EXPECT_EQ(Exchange(port, MakeMessage({}), reply), ServerGone());
    EXPECT_EQ(Exchange(port, MakeMessage({}), reply), kStatusPortDisconnected);
    server.ExitCode();
    Handle again = nullptr;
    EXPECT_EQ(TryConnect(again), kStatusObjectNameNotFound);
    ForgetName();
}

TEST_P(PortConnectTest, ClosingTheClientsHandleEndsItsWait) {
    Serve(Silence());
    const Handle port = Connect();
    auto asking = AskInVain(port);
    EXPECT_EQ(CloseHandle(port), 1);
    EXPECT_EQ(asking.get(), ServerGone());
}

TEST_P(PortConnectTest, ReceiveTimesOut) {
    const Handle server = CreatePort();
    Bytes message;
    for (std::int64_t timeout : {Within(std::chrono::milliseconds(2)), std::int64_t{0}}) {
        EXPECT_EQ(TryReceive(server, message, &timeout), kStatusTimeout);
    }
    CloseHandle(server);
}

TEST_P(PortConnectTest, ClosingTheServersHandleEndsItsWait) {
    const Handle server = CreatePort();
    auto waiting = std::async(std::launch::async, [&] {
        Bytes message;
        return TryReceive(server, message);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    CloseHandle(server);
    const NtStatus status = waiting.get();
    EXPECT_TRUE(status == kStatusPortClosed || status == kStatusInvalidHandle) << status;
}

INSTANTIATE_TEST_SUITE_P(Both, PortConnectTest,
                         testing::Values(PortKind::kLegacy, PortKind::kAdvanced), NameOfKind);

}  // namespace

}  // namespace Kyr::Test
