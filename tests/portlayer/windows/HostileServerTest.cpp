// Servers that break the layer's own protocol, written to the client's pipe by hand: the client's
// calls end with a status.
#include <thread>

#include "tests/portlayer/AlpcPortFixture.h"
#include "tests/portlayer/windows/RawPipe.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;
using namespace PortLayer::Detail;
using Body = std::function<void(CRawPipe&)>;

/// Runs `body` with the only instance of the contract's pipe, once a client has come.
std::thread RawServer(const Body& body) {
    auto pipe = std::make_shared<CRawPipe>(CRawPipe::OfServer());
    return std::thread([pipe, body] {
        pipe->Accept();
        body(*pipe);
    });
}

/// One that begins as it should.
std::thread AcceptingServer(const Body& body) {
    return RawServer([body](CRawPipe& pipe) {
        EXPECT_EQ(pipe.Await().kind, PacketKind::kConnect);
        OutgoingPacket accepted(PacketKind::kAccepted);
        accepted.head.flags = kAlpcMaxMessage;
        pipe.Send(accepted);
        body(pipe);
    });
}

/// Awaits a request and replies with the message, after `change` has seen the packet.
Body Replier(const Bytes& message, const std::function<void(OutgoingPacket&)>& change = {},
             const Bytes& behind = {}) {
    return [=](CRawPipe& pipe) {
        OutgoingPacket packet(PacketKind::kReply);
        packet.head.exchange = pipe.Await().exchange;
        packet.SetMessage(message.data(), message.size());
        if (change) {
            change(packet);
        }
        pipe.Send(packet, behind);
        EXPECT_TRUE(pipe.IsDropped());
    };
}

class HostileServerTest : public AlpcPortFixture {
  protected:
    /// Connects, asks, and expects the connection to be given up.
    void ExpectGivenUp(const Body& body) {
        std::thread server = AcceptingServer(body);
        AlpcPortFixture::ExpectGivenUp();
        server.join();
    }
    void ExpectRefused(const Body& body) {
        std::thread server = RawServer(body);
        Handle port = nullptr;
        EXPECT_EQ(TryConnect(port), kStatusPortConnectionRefused);
        server.join();
    }
    const Bytes message_ = Message(24, {}, 24);
};

TEST_F(HostileServerTest, GarbageInsteadOfAnAnswerRefusesTheConnection) {
    ExpectRefused([](CRawPipe& pipe) {
        pipe.Await();
        EXPECT_TRUE(pipe.SendRaw(ToBytes("garbage")));
        EXPECT_TRUE(pipe.IsDropped());
    });
}

TEST_F(HostileServerTest, EndInsteadOfAnAnswerRefusesTheConnection) {
    ExpectRefused([](CRawPipe& pipe) {
        pipe.Await();
        pipe.Close();
    });
}

TEST_F(HostileServerTest, SilenceInsteadOfAnAnswerEndsWithTheTime) {
    std::thread server = RawServer([](CRawPipe& pipe) {
        pipe.Await();
        EXPECT_TRUE(pipe.IsDropped());
    });
    std::int64_t timeout = Within(std::chrono::milliseconds(50));
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port, nullptr, &timeout), kStatusTimeout);
    server.join();
}

TEST_F(HostileServerTest, ServerThatTakesNobodyInEndsWithTheTime) {
    const CRawPipe server = CRawPipe::OfServer();
    const CRawPipe taken = CRawPipe::OfClient();
    std::int64_t timeout = Within(std::chrono::milliseconds(50));
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port, nullptr, &timeout), kStatusTimeout);
}

TEST_F(HostileServerTest, PipeWithoutMessagesIsRefused) {
    const CRawPipe server = CRawPipe::OfServer(false);
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusAccessDenied);
}

TEST_F(HostileServerTest, GarbageEndsTheConnection) {
    ExpectGivenUp([](CRawPipe& pipe) {
        pipe.Await();
        EXPECT_TRUE(pipe.SendRaw(ToBytes("garbage")));
        EXPECT_TRUE(pipe.IsDropped());
    });
}

TEST_F(HostileServerTest, PacketLongerThanAnyEndsTheConnection) {
    ExpectGivenUp([](CRawPipe& pipe) {
        pipe.Await();
        EXPECT_TRUE(pipe.SendRaw(Bytes(kMaxPacket + 1)));
        EXPECT_TRUE(pipe.IsDropped());
    });
}

TEST_F(HostileServerTest, ServerThatGoesEndsTheConnection) {
    ExpectGivenUp([](CRawPipe& pipe) {
        pipe.Await();
        pipe.Close();
    });
}

TEST_F(HostileServerTest, PacketThatOnlyClientsSendEndsTheConnection) {
    ExpectGivenUp(
        Replier(message_, [](OutgoingPacket& packet) { packet.head.kind = PacketKind::kRequest; }));
}

TEST_F(HostileServerTest, ReplyWithoutAHeaderEndsTheConnection) {
    ExpectGivenUp(Replier(ToBytes("short")));
}

TEST_F(HostileServerTest, ReplyShorterThanItSaysEndsTheConnection) {
    ExpectGivenUp(Replier(Message(24, {}, 30)));
}

TEST_F(HostileServerTest, ViewWhoseNameDoesNotOpenEndsTheConnection) {
    ExpectGivenUp(Replier(message_, [](OutgoingPacket& packet) {
        packet.SetView(3, 100, 0);
        packet.head.viewSlotSize = 65536;
        packet.head.viewMemory = 0xFFFFFFFFFFFFFFFF;
    }));
}

TEST_F(HostileServerTest, DataBesideTheMessageEndTheConnection) {
    Bytes behind(sizeof(TransferRecord) + 1);
    const TransferRecord record = {0, kNoSlot, 1, 0};
    std::memcpy(behind.data(), &record, sizeof record);
    ExpectGivenUp(Replier(
        message_,
        [](OutgoingPacket& packet) {
            packet.head.transferCount = 1;
            packet.head.inlineLength = 1;
        },
        behind));
}

TEST_F(HostileServerTest, ReplyThatNobodyWaitsForIsPassedOver) {
    std::thread server = AcceptingServer([this](CRawPipe& pipe) {
        OutgoingPacket packet(PacketKind::kReply);
        packet.SetMessage(message_.data(), message_.size());
        const std::uint32_t exchange = pipe.Await().exchange;
        for (const std::uint32_t number : {exchange + 1, exchange}) {
            packet.head.exchange = number;
            pipe.Send(packet);
        }
        EXPECT_TRUE(pipe.IsDropped());
    });
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, {}), Bytes());
    CloseHandle(port);
    server.join();
}

}  // namespace

}  // namespace Kyr::Test
