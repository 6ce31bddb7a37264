// Ports of both kinds: names, connecting, refusing, closing, the death of either end, requests and
// replies, one-way messages and their limits.
#include "tests/portlayer/ChildProcess.h"
#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class PortTest : public ServedPortFixture, public testing::WithParamInterface<PortKind> {
  protected:
    PortTest() : ServedPortFixture(GetParam()) {}
};

TEST_P(PortTest, UnknownNameIsNotFound) {
    EXPECT_EQ(TryConnect(), kStatusObjectNameNotFound);
}

TEST_P(PortTest, NameEndsWithItsPort) {
    Serve(Ignore);
    StopServer();
    EXPECT_EQ(TryConnect(), kStatusObjectNameNotFound);
}

TEST_P(PortTest, NameInUseCollides) {
    Serve(Ignore);
    Handle second = nullptr;
    EXPECT_EQ(TryCreatePort(second, 100), kStatusObjectNameCollision);
}

TEST_P(PortTest, NameLeftByADeadProcessIsTakenOver) {
    CChildProcess child([this](CChildProcess& self) {
        CreatePort();
        self.Ready();
        self.WaitForEver();
    });
    child.AwaitReady();
    child.Kill();
    EXPECT_EQ(TryConnect(), kStatusObjectNameNotFound);
    Serve(Ignore);
    EXPECT_EQ(CloseHandle(Connect()), 1);
}

TEST_P(PortTest, InformationCrossesBothWays) {
    const Handle server = CreatePort();
    Bytes information = ToBytes("KelComm ");
    auto connecting = ConnectInBackground(&information);
    Bytes request = Receive(server);
    EXPECT_EQ(Kind(request.data()), kLpcConnectionRequest);
    EXPECT_EQ(DataOf(GetParam(), request), ToBytes("KelComm "));
    std::memcpy(request.data() + Traits().headerSize, "from him", 8);
    Accept(server, request);
    EXPECT_EQ(connecting.get(), kStatusSuccess);
    EXPECT_EQ(information, ToBytes("from him"));
}

TEST_P(PortTest, RefusedClientIsTold) {
    const Handle server = CreatePort();
    auto connecting = ConnectInBackground();
    Bytes request = Receive(server);
    Handle accepted = server;
    EXPECT_EQ(Answer(server, request, false, accepted), kStatusSuccess);
    EXPECT_EQ(accepted, nullptr);
    EXPECT_EQ(connecting.get(), kStatusPortConnectionRefused);
    EXPECT_EQ(Answer(server, request, true, accepted), kStatusReplyMessageMismatch);
}

TEST_P(PortTest, ServerThatClosesItsPortRefusesWaitingClients) {
    const Handle server = CreatePort();
    auto connecting = ConnectInBackground();
    Receive(server);
    CloseHandle(server);
    EXPECT_EQ(connecting.get(), kStatusPortConnectionRefused);
}

TEST_P(PortTest, ContextTellsTheClientsApart) {
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

TEST_P(PortTest, ServerHearsOfAClientThatCloses) {
    std::promise<Handle> closed;
    Serve([&](ReceivedCall& call) {
        if (Kind(call.message.data()) == kLpcPortClosed) {
            closed.set_value(call.client);
        }
    });
    CloseHandle(Connect());
    EXPECT_NE(closed.get_future().get(), nullptr);
}

TEST_P(PortTest, ClientThatDiesInMidRequestCannotBeAnswered) {
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
    EXPECT_EQ(replied.get_future().get(), Traits().noSuchRequest);
}

TEST_P(PortTest, ServerThatClosesItsPortEndsEveryWait) {
    Serve(Silence());
    const Handle port = Connect();
    auto asking = AskInVain(port);
    StopServer();
    EXPECT_EQ(asking.get(), Traits().serverGone);
    EXPECT_EQ(TryAsk(port), kStatusPortDisconnected);
    EXPECT_EQ(SendOneWay(port, MakeMessage({})), kStatusPortDisconnected);
}

TEST_P(PortTest, KilledServerEndsEveryWait) {
    CChildProcess server([this](CChildProcess& self) {
        const Handle port = CreatePort();
        self.Ready();
        Bytes request = Receive(port);
        Accept(port, request);
        Receive(port);
        self.Exit(1);
    });
    server.AwaitReady();
    const Handle port = Connect();
    EXPECT_EQ(TryAsk(port), Traits().serverGone);
    EXPECT_EQ(TryAsk(port), kStatusPortDisconnected);
    server.ExitCode();
    EXPECT_EQ(TryConnect(), kStatusObjectNameNotFound);
    ForgetName();
}

TEST_P(PortTest, ClosingTheClientsHandleEndsItsWait) {
    Serve(Silence());
    const Handle port = Connect();
    auto asking = AskInVain(port);
    EXPECT_EQ(CloseHandle(port), 1);
    EXPECT_EQ(asking.get(), Traits().serverGone);
}

TEST_P(PortTest, ClosingTheServersHandleOfAClientDisconnectsIt) {
    const Handle server = CreatePort();
    auto connecting = std::async(std::launch::async, [this] { return Connect(); });
    Bytes request = Receive(server);
    EXPECT_EQ(CloseHandle(Accept(server, request)), 1);
    EXPECT_EQ(SendOneWay(connecting.get(), MakeMessage({})), kStatusPortDisconnected);
}

TEST_P(PortTest, ReceiveTimesOut) {
    const Handle server = CreatePort();
    Bytes message;
    for (const int milliseconds : {2, 0}) {
        EXPECT_EQ(TryReceive(server, message, std::chrono::milliseconds(milliseconds)),
                  kStatusTimeout);
    }
}

TEST_P(PortTest, ClosingTheServersHandleEndsItsWait) {
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

TEST_P(PortTest, RequestIsAnsweredWithTheServersData) {
    Serve(OnRequests([](ReceivedCall& call) {
        EXPECT_EQ(call.Data(), ToBytes("question"));
        EXPECT_EQ(call.Reply(ToBytes("answer")), kStatusSuccess);
    }));
    EXPECT_EQ(Ask(Connect(), ToBytes("question")), ToBytes("answer"));
}

TEST_P(PortTest, EmptyMessagesCross) {
    Serve(OnRequests(Echo));
    EXPECT_EQ(Ask(Connect(), {}), Bytes());
}

TEST_P(PortTest, LongestMessageCrossesBothWays) {
    Serve(OnRequests(Echo));
    const Bytes data = Pattern(LongestData());
    EXPECT_EQ(Ask(Connect(), data), data);
}

TEST_P(PortTest, TooLongMessageIsRefusedAndThePortGoesOn) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes message = MakeMessage(Pattern(LongestData()));
    for (const std::size_t lengthField : {0, 2}) {
        Put<std::uint16_t>(message.data(), lengthField,
                           Get<std::uint16_t>(message.data(), lengthField) + 1);
    }
    Bytes reply;
    EXPECT_EQ(Exchange(port, message, reply), kStatusPortMessageTooLong);
    EXPECT_EQ(SendOneWay(port, message), kStatusPortMessageTooLong);
    EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x"));
}

TEST_P(PortTest, OneWayMessageArrivesAsADatagramThatCannotBeAnswered) {
    std::promise<Bytes> received;
    Serve([&](ReceivedCall& call) {
        if (Kind(call.message.data()) == kLpcDatagram) {
            EXPECT_EQ(Get<std::uint16_t>(call.message.data(), 4), 3);
            EXPECT_EQ(call.Reply({}), Traits().noSuchRequest);
            received.set_value(call.Data());
        }
    });
    EXPECT_EQ(SendOneWay(Connect(), MakeMessage(ToBytes("note"))), kStatusSuccess);
    EXPECT_EQ(received.get_future().get(), ToBytes("note"));
}

TEST_P(PortTest, SecondReplyFindsNoRequest) {
    std::promise<void> checked;
    Serve(OnRequests([&](ReceivedCall& call) {
        EXPECT_EQ(call.Reply(ToBytes("first")), kStatusSuccess);
        EXPECT_EQ(call.Reply(ToBytes("second")), Traits().noSuchRequest);
        checked.set_value();
    }));
    EXPECT_EQ(Ask(Connect(), {}), ToBytes("first"));
    checked.get_future().get();
}

TEST_P(PortTest, ThreadsOfOneClientGetTheirOwnReplies) {
    Serve(OnRequests(Echo), 3);
    AskOnThreads(Connect(), 6, 150);
}

INSTANTIATE_TEST_SUITE_P(Both, PortTest, testing::Values(PortKind::kLegacy, PortKind::kAdvanced),
                         NameOfKind);

}  // namespace

}  // namespace Kyr::Test
