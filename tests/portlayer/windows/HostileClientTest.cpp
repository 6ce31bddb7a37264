// Clients that break the layer's own protocol, written to the server's pipe by hand: they are
// dropped, and everybody else is served.
#include <limits>

#include "portlayer/packets/SharedMemory.h"
#include "tests/portlayer/AlpcPortFixture.h"
#include "tests/portlayer/HostileLpcClient.h"
#include "tests/portlayer/windows/RawPipe.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;
using namespace PortLayer::Detail;

class HostileLpcClientTest : public HostileLpcClientFixture {
  protected:
    OutgoingPacket Packet(PacketKind kind) const {
        OutgoingPacket packet(kind);
        packet.SetMessage(message_.data(), LpcLayout::kHeaderSize);
        return packet;
    }
    static void ExpectDropped(const OutgoingPacket& packet, const Bytes& behind = {}) {
        CRawPipe client = CRawPipe::OfClient();
        client.Handshake(PortDialect::kLpc);
        client.Send(packet, behind);
        EXPECT_TRUE(client.IsDropped());
    }
};

TEST_F(HostileLpcClientTest, GarbageIsDropped) {
    for (const Bytes& garbage :
         {Bytes{1}, Bytes(sizeof(PacketHead)), Pattern(sizeof(PacketHead)), Pattern(70000)}) {
        CRawPipe client = CRawPipe::OfClient();
        EXPECT_TRUE(client.SendRaw(garbage));
        EXPECT_TRUE(client.IsDropped()) << garbage.size();
    }
}

TEST_F(HostileLpcClientTest, PacketLongerThanAnyIsDropped) {
    CRawPipe client = CRawPipe::OfClient();
    client.SendRaw(Bytes(kMaxPacket + 1));
    EXPECT_TRUE(client.IsDropped());
}

TEST_F(HostileLpcClientTest, PacketLongerThanThePipeHoldsIsDropped) {
    CRawPipe client = CRawPipe::OfClient();
    EXPECT_FALSE(client.SendRaw(Bytes(4 << 20)));
    EXPECT_TRUE(client.IsDropped());
}

TEST_F(HostileLpcClientTest, RequestBeforeTheConnectionIsDropped) {
    CRawPipe client = CRawPipe::OfClient();
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
        CRawPipe client = CRawPipe::OfClient();
        client.Handshake(PortDialect::kLpc);
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
    for (const int total : {0, header - 1, header + 1, 648, 0xFFFF}) {
        Put(message_.data(), 2, static_cast<std::uint16_t>(total));
        ExpectDropped(Packet(PacketKind::kRequest));
    }
}

TEST_F(HostileLpcClientTest, DataBesideTheMessageAreDropped) {
    OutgoingPacket packet = Packet(PacketKind::kRequest);
    packet.head.transferCount = 1;
    packet.head.inlineLength = 1;
    Bytes behind(sizeof(TransferRecord) + 1);
    const TransferRecord record = {0, kNoSlot, 1, 0};
    std::memcpy(behind.data(), &record, sizeof record);
    ExpectDropped(packet, behind);
}

TEST_F(HostileLpcClientTest, ClientThatGoesWithoutAWordHoldsNobodyUp) {
    CRawPipe::OfClient().Close();
}

TEST_F(HostileLpcClientTest, ClientThatGoesBeforeItsReplyHoldsNobodyUp) {
    CRawPipe client = CRawPipe::OfClient();
    client.Handshake(PortDialect::kLpc);
    client.Send(Packet(PacketKind::kRequest));
    client.Close();
}

class HostileAlpcClientTest : public AlpcPortFixture {
  protected:
    static constexpr std::size_t kSize = 65536;

    void SetUp() override {
        AlpcPortFixture::SetUp();
        Serve([this](ReceivedCall& call) { views_ += call.attributes.HasView() ? 1 : 0; });
    }
    /// Sends a view in the memory of that name, new to the server when it has a size.
    static CRawPipe SendView(std::uint64_t name, std::uint64_t slotSize, std::uint64_t viewSize,
                             std::uint32_t slot = 3) {
        CRawPipe client = CRawPipe::OfClient();
        client.Handshake(PortDialect::kAlpc);
        const Bytes message = Message(24, {}, 24);
        OutgoingPacket packet(PacketKind::kDatagram);
        packet.SetMessage(message.data(), message.size());
        packet.SetView(slot, viewSize, 0);
        packet.head.viewMemory = name;
        packet.head.viewSlotSize = slotSize;
        client.Send(packet);
        return client;
    }
    /// Expects to be dropped without the server seeing a view.
    void ExpectDropped(CRawPipe client) {
        EXPECT_TRUE(client.IsDropped());
        StopServer();
        EXPECT_EQ(views_, 0);
    }
    /// Memory that the server could open; answers its name.
    std::uint64_t MakeMemory() {
        EXPECT_TRUE(CreateSharedMemory(kSize, memory_, mapping_));
        return memory_.name;
    }
    int views_ = 0;

  private:
    SharedMemory memory_;
    CMapping mapping_;
};

TEST_F(HostileAlpcClientTest, ViewThatKeepsTheRulesArrives) {
    CRawPipe client = SendView(MakeMemory(), kSize, kSize);
    client.Close();
    // The view was sent first, and a client that connects comes later.
    CloseHandle(Connect());
    StopServer();
    EXPECT_EQ(views_, 1);
}

TEST_F(HostileAlpcClientTest, ViewWhoseNameDoesNotOpenIsDropped) {
    ExpectDropped(SendView(std::numeric_limits<std::uint64_t>::max(), kSize, 100));
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
    ExpectDropped(SendView(0, 0, 100));
}

TEST_F(HostileAlpcClientTest, SlotBeyondAllIsDropped) {
    ExpectDropped(SendView(MakeMemory(), kSize, 100, 64));
}

}  // namespace

}  // namespace Kyr::Test
