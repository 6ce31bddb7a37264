// An end of a connection to the contract's port that speaks to the back end itself, for peers that
// break the rules.
//
// Threads: one at a time; every call waits.
#pragma once

#include <utility>

#include "portlayer/packets/MessageHeader.h"
#include "portlayer/packets/Packet.h"
#include "portlayer/packets/SharedMemory.h"
#include "tests/support/product/PortMessages.h"

namespace Kyr::Test {

class CRawPeer {
  public:
    /// A client's end.
    static CRawPeer OfClient();
    /// The port, by hand. It has one client.
    static CRawPeer OfServer();

    /// A client's end that has connected properly; the server must accept.
    static CRawPeer Connected(PortLayer::Detail::PortDialect dialect);

    /// Waits for the client.
    void Accept();

    /// A packet as it stands: head, message, and transfers, which must be inline.
    void Send(const PortLayer::Detail::OutgoingPacket& packet);
    /// False when the peer has ended the connection meanwhile; so the others.
    bool TrySend(const PortLayer::Detail::OutgoingPacket& packet);
    /// A message without data.
    bool TrySendEmpty(PortLayer::Detail::PacketKind kind, PortLayer::Detail::PortDialect dialect);
    bool SendRaw(const Bytes& bytes);
    /// The same with memory that is new to the peer.
    void SendWithMemory(PortLayer::Detail::OutgoingPacket packet,
                        const PortLayer::Detail::SharedMemory& memory);
    /// The head of the packet that comes next.
    PortLayer::Detail::PacketHead Await();
    bool TryAwait(PortLayer::Detail::PacketHead& head);
    /// True when the peer ends the connection without another word.
    bool IsDropped();
    void Close() { end_.Reset(); }

  private:
    explicit CRawPeer(PortLayer::Detail::CSystemHandle end) : end_(std::move(end)) {}

    PortLayer::Detail::CSystemHandle end_;
};

}  // namespace Kyr::Test
