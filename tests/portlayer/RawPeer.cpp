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

void CRawPeer::Send(const OutgoingPacket& packet) {
    EXPECT_TRUE(TrySend(packet));
}

bool CRawPeer::TrySend(const OutgoingPacket& packet) {
    Bytes bytes;
    const auto append = [&bytes](const void* part, std::size_t size) {
        const auto* const begin = static_cast<const std::uint8_t*>(part);
        bytes.insert(bytes.end(), begin, begin + size);
    };
    append(&packet.head, sizeof packet.head);
    append(packet.message, packet.head.messageLength);
    append(packet.transfers.data(), packet.head.transferCount * sizeof(TransferRecord));
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        append(packet.inlineBytes[i], packet.transfers[i].size);
    }
    return SendRaw(bytes);
}

PacketHead CRawPeer::Await() {
    PacketHead head = {};
    EXPECT_TRUE(TryAwait(head));
    return head;
}

}  // namespace Kyr::Test
