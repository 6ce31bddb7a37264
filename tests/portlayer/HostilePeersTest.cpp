// Peers that break the layer's own protocol, by whatever back end.
#include <limits>

#include "tests/portlayer/HostilePeers.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;
using namespace PortLayer::Detail;

/// A client that connects as it should, and then sends the packet.
void ExpectDropped(const OutgoingPacket& packet) {
    CRawPeer client = CRawPeer::Connected(PortDialect::kLpc);
    client.Send(packet);
    EXPECT_TRUE(client.IsDropped());
}

TEST_F(HostileLpcClientTest, GarbageIsDropped) {
    for (const Bytes& garbage : {Bytes{1}, Bytes(sizeof(PacketHead)), Pattern(sizeof(PacketHead)),
                                 Pattern(70000), Bytes(kMaxPacket + 1)}) {
        CRawPeer client = CRawPeer::OfClient();
        client.SendRaw(garbage);
        EXPECT_TRUE(client.IsDropped()) << garbage.size();
    }
}

TEST_F(HostileLpcClientTest, RequestBeforeTheConnectionIsDropped) {
    CRawPeer client = CRawPeer::OfClient();
    client.Send(Packet(PacketKind::kRequest));
    EXPECT_TRUE(client.IsDropped());
}

TEST_F(HostileLpcClientTest, SecondConnectionRequestIsDropped) {
    ExpectDropped(Packet(PacketKind::kConnect));
}

TEST_F(HostileLpcClientTest, PacketThatOnlyServersSendIsDropped) {
    ExpectDropped(Packet(PacketKind::kReply));
}

TEST_F(HostileLpcClientTest, HeadThatLiesAboutTheMessageIsDropped) {
    for (const std::uint32_t length : {0u, 1u, 65536u, 0xFFFFFFFFu}) {
        CRawPeer client = CRawPeer::Connected(PortDialect::kLpc);
        OutgoingPacket packet = Packet(PacketKind::kRequest);
        packet.head.messageLength = length;
        Bytes bytes(sizeof packet.head + LpcLayout::kHeaderSize);
        std::memcpy(bytes.data(), &packet.head, sizeof packet.head);
        EXPECT_TRUE(client.SendRaw(bytes));
        EXPECT_TRUE(client.IsDropped()) << length;
    }
}

TEST_F(HostileLpcClientTest, MessageWhoseLengthsLieIsDropped) {
    const auto header = static_cast<std::uint16_t>(LpcLayout::kHeaderSize);
    const OutgoingPacket packet = Packet(PacketKind::kRequest);
    for (const int total : {0, header - 1, header + 1, 648, 0xFFFF}) {
        Put(message_.data(), 2, static_cast<std::uint16_t>(total));
        ExpectDropped(packet);
    }
}

TEST_F(HostileLpcClientTest, EntriesBeyondTheBlockAreDropped) {
    std::uint8_t byte = 0;
    message_ = LpcMessageWithEntries({{&byte, 1}});
    for (const std::uint32_t entry : {1u, 0xFFFFFFFFu}) {
        OutgoingPacket packet = Packet(PacketKind::kRequest);
        packet.AddInline(entry, "x", 1);
        ExpectDropped(packet);
    }
}

TEST_F(HostileLpcClientTest, EntryOfAnotherSizeIsDropped) {
    std::uint8_t bytes[2] = {};
    message_ = LpcMessageWithEntries({{bytes, 2}});
    OutgoingPacket packet = Packet(PacketKind::kRequest);
    packet.AddInline(0, "x", 1);
    ExpectDropped(packet);
}

TEST_F(HostileLpcClientTest, ClientThatGoesWithoutAWordHoldsNobodyUp) {
    CRawPeer::OfClient().Close();
}

TEST_F(HostileLpcClientTest, ClientThatGoesBeforeItsReplyHoldsNobodyUp) {
    CRawPeer client = CRawPeer::Connected(PortDialect::kLpc);
    client.Send(Packet(PacketKind::kRequest));
    client.Close();
}

TEST_F(HostileAlpcClientTest, ViewThatKeepsTheRulesArrives) {
    SendView(MakeMemory(), kSize, kSize).Close();
    // The view was sent first, and a client that connects comes later.
    CloseHandle(Connect());
    StopServer();
    EXPECT_EQ(views_, 1);
}

TEST_F(HostileAlpcClientTest, MemorySmallerThanAnnouncedIsDropped) {
    ExpectDropped(SendView(MakeMemory(), kSize + 1, 100));
}

TEST_F(HostileAlpcClientTest, MemoryLargerThanAnyIsDropped) {
    ExpectDropped(SendView(MakeMemory(), std::numeric_limits<std::uint64_t>::max(), 100));
}

TEST_F(HostileAlpcClientTest, ViewLargerThanItsMemoryIsDropped) {
    ExpectDropped(SendView(MakeMemory(), kSize, kSize + 1));
}

TEST_F(HostileAlpcClientTest, SlotWithoutMemoryIsDropped) {
    ExpectDropped(SendView({}, 0, 100));
}

TEST_F(HostileAlpcClientTest, SlotBeyondAllIsDropped) {
    ExpectDropped(SendView(MakeMemory(), kSize, 100, 64));
}

TEST_F(HostileAlpcClientTest, MessageThatGoesOnBehindItsDataIsDropped) {
    Bytes message = Message(24, {}, 25);
    Put<std::uint16_t>(message.data(), 2, 25);
    for (const PacketKind kind :
         {PacketKind::kConnect, PacketKind::kRequest, PacketKind::kDatagram}) {
        const bool isFirst = kind == PacketKind::kConnect;
        CRawPeer client = isFirst ? CRawPeer::OfClient() : CRawPeer::Connected(PortDialect::kAlpc);
        OutgoingPacket packet(kind);
        packet.head.flags = isFirst ? static_cast<std::uint32_t>(PortDialect::kAlpc) : 0;
        packet.SetMessage(message.data(), message.size());
        client.Send(packet);
        EXPECT_TRUE(client.IsDropped()) << static_cast<int>(kind);
    }
}

/// What a server does once it has heard of its client.
std::function<void(CRawPeer&)> Saying(const Bytes& words) {
    return [words](CRawPeer& server) {
        server.Await();
        server.SendRaw(words);
        EXPECT_TRUE(server.IsDropped());
    };
}

void Go(CRawPeer& server) {
    server.Await();
    server.Close();
}

TEST_F(HostileServerTest, GarbageInsteadOfAnAnswerRefusesTheConnection) {
    ExpectRefused(Saying(ToBytes("garbage")));
}

TEST_F(HostileServerTest, EndInsteadOfAnAnswerRefusesTheConnection) {
    ExpectRefused(Go);
}

TEST_F(HostileServerTest, SilenceInsteadOfAnAnswerEndsWithTheTime) {
    StartRawServer([](CRawPeer& silent) {
        silent.Await();
        EXPECT_TRUE(silent.IsDropped());
    });
    EXPECT_EQ(TryConnect(std::chrono::milliseconds(50)), kStatusTimeout);
}

TEST_F(HostileServerTest, GarbageEndsTheConnection) {
    ExpectGivenUp(Saying(ToBytes("garbage")));
}

TEST_F(HostileServerTest, PacketLongerThanAnyEndsTheConnection) {
    ExpectGivenUp(Saying(Bytes(kMaxPacket + 1)));
}

TEST_F(HostileServerTest, ServerThatGoesEndsTheConnection) {
    ExpectGivenUp(Go);
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

TEST_F(HostileServerTest, ViewWithoutItsMemoryEndsTheConnection) {
    ExpectGivenUp(Replier(message_, [](OutgoingPacket& packet) {
        packet.SetView(3, 100, 0);
        packet.head.viewSlotSize = 65536;
        packet.head.viewMemory = 0xFFFFFFFFFFFFFFFF;  // where names count: of nothing
    }));
}

TEST_F(HostileServerTest, WriteToAnEntryThatWasNotOfferedEndsTheConnection) {
    ExpectGivenUp(Replier(message_, [](OutgoingPacket& packet) { packet.AddInline(0, "x", 1); }));
}

TEST_F(HostileServerTest, ReplyThatNobodyWaitsForIsPassedOver) {
    StartAcceptingServer([this](CRawPeer& lavish) {
        const std::uint32_t exchange = lavish.Await().exchange;
        lavish.Send(ReplyTo(exchange + 1));
        lavish.Send(ReplyTo(exchange));
        EXPECT_TRUE(lavish.IsDropped());
    });
    EXPECT_EQ(Ask(Connect(), {}), Bytes());
}

TEST_F(HostileServerTest, IdOfAnUnreleasedReplyUsedAgainEndsTheConnection) {
    StartAcceptingServer([this](CRawPeer& repeating) {
        for (int time = 0; time < 2; ++time) {
            OutgoingPacket packet = ReplyTo(repeating.Await().exchange);
            packet.head.flags = kPacketContinuation;
            repeating.Send(packet);
        }
    });
    const Handle port = Connect();
    Bytes first;
    EXPECT_EQ(Exchange(port, AlpcMessage({}), first), kStatusSuccess);
    EXPECT_EQ(TryAsk(port), kStatusPortDisconnected);
    EXPECT_EQ(Release(port, first, nullptr), kStatusSuccess);
}

}  // namespace

}  // namespace Kyr::Test
