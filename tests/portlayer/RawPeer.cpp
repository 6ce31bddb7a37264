#include "tests/portlayer/RawPeer.h"

#include <cstring>
#include <gtest/gtest.h>

namespace Kyr::Test {

using namespace PortLayer::Detail;

void CRawPeer::Handshake(PortDialect dialect) {
    OutgoingPacket packet(PacketKind::kConnect);
    packet.head.flags = static_cast<std::uint32_t>(dialect);
    const Bytes message = Message(HeaderSize(dialect), {}, HeaderSize(dialect));
    packet.SetMessage(message.data(), message.size());
    Send(packet);
    EXPECT_EQ(Await().kind, PacketKind::kAccepted);
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
