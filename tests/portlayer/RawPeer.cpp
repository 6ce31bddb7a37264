#include "tests/portlayer/RawPeer.h"

#include <cstring>
#include <gtest/gtest.h>

namespace Kyr::Test {

using namespace PortLayer::Detail;

CRawPeer CRawPeer::Connected(PortDialect dialect) {
    CRawPeer client = OfClient();
    EXPECT_TRUE(client.TrySendEmpty(PacketKind::kConnect, dialect));
    EXPECT_EQ(client.Await().kind, PacketKind::kAccepted);
    return client;
}

bool CRawPeer::TrySendEmpty(PacketKind kind, PortDialect dialect) {
    OutgoingPacket packet(kind);
    packet.head.flags = kind == PacketKind::kConnect ? static_cast<std::uint32_t>(dialect) : 0;
    const Bytes message = Message(HeaderSize(dialect), {}, HeaderSize(dialect));
    packet.SetMessage(message.data(), message.size());
    return TrySend(packet);
}

void CRawPeer::Send(const OutgoingPacket& packet, const Bytes& behind) {
    EXPECT_TRUE(TrySend(packet, behind));
}

bool CRawPeer::TrySend(const OutgoingPacket& packet, const Bytes& behind) {
    const auto* const head = reinterpret_cast<const std::uint8_t*>(&packet.head);
    const auto* const message = static_cast<const std::uint8_t*>(packet.message);
    Bytes bytes(head, head + sizeof packet.head);
    bytes.insert(bytes.end(), message, message + packet.head.messageLength);
    bytes.insert(bytes.end(), behind.begin(), behind.end());
    return SendRaw(bytes);
}

PacketHead CRawPeer::Await() {
    PacketHead head = {};
    EXPECT_TRUE(TryAwait(head));
    return head;
}

}  // namespace Kyr::Test
