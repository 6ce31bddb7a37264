#include "portlayer/linux/ServerConnection.h"

#include <sys/socket.h>

#include "portlayer/linux/Peer.h"
#include "portlayer/linux/ServerPort.h"

namespace Kyr::PortLayer::Detail {

namespace {

// How long a client may leave its full buffer unread before the server gives it up: a real port
// never blocks its server. Our choice.
constexpr std::chrono::seconds kSendPatience{1};

}  // namespace

CServerConnection::CServerConnection(const std::shared_ptr<CServerPort>& port, std::uint64_t number,
                                     CFileDescriptor socket)
    : port_(port),
      portNumber_(port->Number()),
      number_(number),
      socket_(std::move(socket)),
      clientProcessId_(PeerProcessId(socket_.Get())),
      memory_(pool_, received_) {}

NtApi::NtStatus CServerConnection::Send(COutgoingPacket& packet) {
    packet.head.threadId = CurrentThreadId();
    ESend result = SendPacket(Socket(), packet, pool_, received_, CDeadline::Now());
    if (result == ESend::TimedOut) {
        result = SendPacket(Socket(), packet, pool_, received_, CDeadline::In(kSendPatience));
    }
    if (result == ESend::Sent) {
        return NtApi::kStatusSuccess;
    }
    // The receiving side of the port sees the end and tells the server.
    ::shutdown(Socket(), SHUT_RDWR);
    return NtApi::kStatusPortDisconnected;
}

}  // namespace Kyr::PortLayer::Detail
