// Peers that hold on, hold back or flood: nobody else may starve or wait for ever. Linux only: they
// speak to the sockets themselves.
#include <atomic>
#include <future>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include "portlayer/linux/Peer.h"
#include "tests/portlayer/HostilePeers.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;
using namespace PortLayer::Detail;

/// What a machine under load may take for what takes no time.
constexpr std::chrono::seconds kPatience(30);

class StarvingServerTest : public HostileServerTest {
  protected:
    std::future<NtStatus> AskWithin(Handle port, std::chrono::milliseconds patience) {
        return std::async(std::launch::async,
                          [this, port, patience] { return TryAsk(port, nullptr, patience); });
    }
    /// Sends one-way messages until no more fit.
    void FillSocket(Handle port) {
        Bytes message = AlpcMessage(Bytes(30000));
        NtStatus status = kStatusSuccess;
        while (status == kStatusSuccess) {
            std::int64_t timeout = 0;
            status = NtAlpcSendWaitReceivePort(port, kAlpcReleaseMessage, message.data(), nullptr,
                                               nullptr, nullptr, nullptr, &timeout);
        }
        EXPECT_EQ(status, kStatusTimeout);
    }
    /// Replies to every request until the client is gone.
    void AnswerAll(CRawPeer& client) {
        PacketHead request;
        while (client.TryAwait(request)) {
            if (request.kind == PacketKind::kRequest) {
                // False: the client has closed meanwhile, and its request has timed out.
                static_cast<void>(client.TrySend(ReplyTo(request.exchange)));
            }
        }
    }
};

TEST_F(StarvingServerTest, ReadingIsNotHandedToAThreadThatStillSends) {
    std::promise<void> read;
    StartAcceptingServer([&](CRawPeer& client) {
        read.get_future().wait();
        AnswerAll(client);
    });
    const Handle port = Connect();
    auto reader = AskWithin(port, std::chrono::milliseconds(100));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    auto patient = AskWithin(port, std::chrono::minutes(2));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    FillSocket(port);
    auto sender = AskWithin(port, std::chrono::milliseconds(150));
    EXPECT_EQ(reader.get(), kStatusTimeout);
    EXPECT_EQ(sender.get(), kStatusTimeout);
    read.set_value();
    ASSERT_EQ(patient.wait_for(kPatience), std::future_status::ready);
    EXPECT_EQ(patient.get(), kStatusSuccess);
}

TEST_F(StarvingServerTest, ManyTimeOutsAtOnceLeaveSomebodyReading) {
    StartAcceptingServer([this](CRawPeer& client) {
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        AnswerAll(client);
    });
    const Handle port = Connect();
    std::vector<std::future<NtStatus>> hasty;
    hasty.push_back(AskWithin(port, std::chrono::milliseconds(20)));
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    auto patient = AskWithin(port, std::chrono::minutes(2));
    for (int i = 0; i < 16; ++i) {
        hasty.push_back(AskWithin(port, std::chrono::milliseconds(14)));
    }
    ASSERT_EQ(patient.wait_for(kPatience), std::future_status::ready);
    EXPECT_EQ(patient.get(), kStatusSuccess);
}

TEST_F(StarvingServerTest, FloodOfRepliesDoesNotOutlastTheTimeOut) {
    StartAcceptingServer([this](CRawPeer& client) {
        const OutgoingPacket stray = ReplyTo(client.Await().exchange + 1000);
        while (client.TrySend(stray)) {
        }
    });
    const Handle port = Connect();
    auto asked = AskWithin(port, std::chrono::milliseconds(20));
    EXPECT_EQ(asked.wait_for(kPatience), std::future_status::ready);
    CloseHandle(port);
    EXPECT_EQ(asked.get(), kStatusTimeout);
}

/// No descriptor can be opened while it lives.
class CNoDescriptors {
  public:
    CNoDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit none = {1, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    ~CNoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_ = {};
};

class StarvingClientTest : public LpcPortFixture {
  protected:
    /// A client that comes, asks and goes.
    void ExpectOthersAreServed() {
        auto other = std::async(std::launch::async, [this] {
            const Handle port = Connect();
            EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x"));
            CloseHandle(port);
        });
        EXPECT_EQ(other.wait_for(kPatience), std::future_status::ready);
    }
};

TEST_F(StarvingClientTest, PortOutOfDescriptorsStillTimesOutAndRecovers) {
    const Handle port = CreatePort();
    Bytes message;
    // A first time with descriptors: checkers of object types need some when they meet a new one.
    EXPECT_EQ(TryReceive(port, message, std::chrono::milliseconds(0)), kStatusTimeout);
    CRawPeer client = CRawPeer::OfClient();
    NtStatus status = kStatusSuccess;
    {
        const CNoDescriptors none;
        status = TryReceive(port, message, std::chrono::milliseconds(30));
    }
    EXPECT_EQ(status, kStatusTimeout);
    EXPECT_TRUE(client.TrySendEmpty(PacketKind::kConnect, PortDialect::kLpc));
    EXPECT_EQ(TryReceive(port, message, kPatience), kStatusSuccess);
    EXPECT_EQ(Kind(message.data()), kLpcConnectionRequest);
}

TEST_F(StarvingClientTest, FloodOfConnectionsDoesNotOutlastTheTimeOut) {
    const Handle port = CreatePort();
    std::atomic<bool> flooding{true};
    std::vector<std::thread> floods(3);
    for (std::thread& flood : floods) {
        flood = std::thread([&] {
            while (flooding) {
                CFileDescriptor socket;
                ConnectSocket(Path("contractport.port"),
                              CDeadline::In(std::chrono::milliseconds(20)), socket);
            }
        });
    }
    Bytes message;
    auto receiving = std::async(std::launch::async, [&] {
        return TryReceive(port, message, std::chrono::milliseconds(20));
    });
    EXPECT_EQ(receiving.wait_for(kPatience), std::future_status::ready);
    flooding = false;
    EXPECT_EQ(receiving.get(), kStatusTimeout);
    for (std::thread& flood : floods) {
        flood.join();
    }
}

TEST_F(StarvingClientTest, ReceiveThatMayNotWaitSeesPastTheConnectingOfClients) {
    const Handle port = CreatePort();
    CRawPeer client = CRawPeer::OfClient();
    EXPECT_TRUE(client.TrySendEmpty(PacketKind::kConnect, PortDialect::kLpc));
    Bytes message;
    EXPECT_EQ(TryReceive(port, message, std::chrono::milliseconds(0)), kStatusSuccess);
    EXPECT_EQ(Kind(message.data()), kLpcConnectionRequest);
}

TEST_F(StarvingClientTest, RequestsThatPileUpDropTheirClientAlone) {
    Serve(OnRequests([](ReceivedCall& call) {
        if (call.Data() == ToBytes("x")) {
            call.Reply(call.Data());
        }
    }));
    CRawPeer client = CRawPeer::Connected(PortDialect::kLpc);
    bool sent = true;
    for (int i = 0; i < 5000 && sent; ++i) {
        sent = client.TrySendEmpty(PacketKind::kRequest, PortDialect::kLpc);
    }
    EXPECT_FALSE(sent);
    ExpectOthersAreServed();
}

TEST_F(StarvingClientTest, DescriptorsOfMalformedPacketsAreClosed) {
    Serve(OnRequests(Echo));
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const CFileDescriptor readEnd(ends[0]);
    {
        SharedMemory writeEnd;
        writeEnd.handle.Reset(ends[1]);
        CRawPeer client = CRawPeer::OfClient();
        client.SendWithMemory(OutgoingPacket(PacketKind::kRequest), writeEnd);
        EXPECT_TRUE(client.IsDropped());
    }
    pollfd closed = {readEnd.Get(), 0, 0};
    EXPECT_EQ(::poll(&closed, 1, 5000), 1) << "the server still holds the pipe";
}

TEST_F(StarvingClientTest, ConnectionRequestBeyondTheReceiveBufferIsRefused) {
    const Handle port = CreatePort(100);
    Bytes message;
    Bytes information(61);
    auto client = ConnectInBackground(&information);
    EXPECT_EQ(TryReceive(port, message, std::chrono::milliseconds(200)), kStatusTimeout);
    EXPECT_EQ(message, Bytes(LpcLayout::kMaxMessage, 0xEE));
    CloseHandle(port);
    EXPECT_EQ(client.get(), kStatusPortConnectionRefused);
}

class VanishingClientTest : public AlpcPortFixture {};

TEST_F(VanishingClientTest, UnansweredRequestsLeaveNothing) {
    Serve(Ignore, 4);
    for (int i = 0; i < 300; ++i) {
        CRawPeer client = CRawPeer::Connected(PortDialect::kAlpc);
        EXPECT_TRUE(client.TrySendEmpty(PacketKind::kRequest, PortDialect::kAlpc));
    }
}

TEST_F(VanishingClientTest, AcceptingOneThatHasGoneGivesNoHandle) {
    const Handle port = CreatePort();
    Bytes message;
    {
        CRawPeer client = CRawPeer::OfClient();
        EXPECT_TRUE(client.TrySendEmpty(PacketKind::kConnect, PortDialect::kAlpc));
        message = Receive(port);
    }
    Handle accepted = port;
    EXPECT_EQ(Answer(port, message, true, accepted), kStatusPortDisconnected);
    EXPECT_EQ(accepted, nullptr);
}

}  // namespace

}  // namespace Kyr::Test
