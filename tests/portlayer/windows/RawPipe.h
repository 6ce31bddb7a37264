// Ends of connections that speak to the layer's pipes themselves, for peers that break the rules.
//
// Threads: one at a time; every call waits.
#pragma once

#include <memory>

#include "portlayer/packets/MessageHeader.h"
#include "portlayer/packets/Packet.h"
#include "tests/portlayer/PortFixture.h"

namespace Kyr::Test {

/// The object that keeps the name of the contract's port, and one of another kind in its place.
PortLayer::Detail::CSystemHandle ClaimContractPort();
PortLayer::Detail::CSystemHandle MutexInPlaceOfClaim();

class CRawPipe {
  public:
    /// A client's end of the contract's port.
    static CRawPipe OfClient();
    /// The only instance of the contract's pipe. Of messages, or else of mere bytes.
    static CRawPipe OfServer(bool hasMessages = true);

    /// Waits for a client.
    void Accept();
    /// Connects properly; the server must accept.
    void Handshake(PortLayer::Detail::PortDialect dialect);

    void Send(const PortLayer::Detail::OutgoingPacket& packet, const Bytes& behind = {});
    /// False when the peer has ended the connection meanwhile.
    bool SendRaw(const Bytes& bytes);
    /// The head of the packet that comes next.
    PortLayer::Detail::PacketHead Await();
    /// True when the peer ends the connection without another word.
    bool IsDropped();
    void Close() { pipe_.Reset(); }

  private:
    explicit CRawPipe(PortLayer::Detail::CSystemHandle pipe) : pipe_(std::move(pipe)) {}

    PortLayer::Detail::CSystemHandle pipe_;
};

}  // namespace Kyr::Test
