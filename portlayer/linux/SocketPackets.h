// Packets over a SOCK_SEQPACKET socket, with descriptors attached.
//
// Threads: any number may send on one socket and receive from it.
#pragma once

#include "portlayer/packets/PacketChannel.h"

namespace Kyr::PortLayer::Detail {

/// As IPacketChannel::Receive.
ReceiveResult ReceivePacket(int socket, const CDeadline& deadline, PacketBuffer& buffer,
                            IncomingPacket& packet);

/// As IPacketChannel::Send.
SendResult SendPacket(int socket, OutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                      const CDeadline& deadline);

}  // namespace Kyr::PortLayer::Detail
