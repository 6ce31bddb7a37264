// Packets over a SOCK_SEQPACKET socket, with descriptors attached.
//
// Threads: any number may send on one socket and receive from it.
#pragma once

#include "portlayer/core/Channel.h"

namespace Kyr::PortLayer::Detail {

/// As IChannel::Receive.
EReceive ReceivePacket(int socket, const CDeadline& deadline, CPacketBuffer& buffer,
                       CIncomingPacket& packet);

/// As IChannel::Send.
ESend SendPacket(int socket, COutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                 const CDeadline& deadline);

}  // namespace Kyr::PortLayer::Detail
