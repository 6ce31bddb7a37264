// One end of a connection's transport: carries packets, whole and in order, to one peer.
//
// The back end has one implementation; a connection owns one of these.
// Threads: any number may send; one at a time receives; Shutdown may come at any time.
// Errors: in the results. A channel that answered Closed or Malformed is of no more use.
#pragma once

#include <cstdint>
#include <memory>

#include "ntapi/Status.h"
#include "ntapi/Types.h"
#include "portlayer/packets/Packet.h"

namespace Kyr::PortLayer::Detail {

enum class ReceiveResult { kPacket, kNothing, kClosed, kMalformed };

enum class SendResult { kSent, kTimedOut, kClosed };

class IPacketChannel {
  public:
    IPacketChannel() = default;
    IPacketChannel(const IPacketChannel&) = delete;
    IPacketChannel& operator=(const IPacketChannel&) = delete;
    virtual ~IPacketChannel() = default;

    /// Waits for a packet until the deadline; one that has passed already looks once. Nothing: the
    /// deadline passed, or the channel had been readable for another thread.
    virtual ReceiveResult Receive(const CDeadline& deadline, PacketBuffer& buffer,
                                  IncomingPacket& packet) = 0;
    /// Sends the packet, with the slots that `freed` has to give back. Waits until the deadline
    /// when the peer's buffer is full. On Sent the slots of the packet are the peer's.
    virtual SendResult Send(OutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                            const CDeadline& deadline) = 0;
    /// Ends the connection: threads inside leave, and the peer reads what was sent and then Closed.
    virtual void Shutdown() = 0;
    /// As the operating system tells it, not the peer.
    virtual std::uint32_t PeerProcessId() const = 0;
};

/// A channel to the server of the named port. kStatusObjectNameNotFound when nobody serves it,
/// kStatusAccessDenied when another user does, kStatusTimeout.
NtApi::NtStatus OpenChannel(const NtApi::UnicodeString& name, const CDeadline& deadline,
                            std::unique_ptr<IPacketChannel>& channel);

/// The id that the operating system gave the calling thread.
std::uint32_t CurrentThreadId();

}  // namespace Kyr::PortLayer::Detail
