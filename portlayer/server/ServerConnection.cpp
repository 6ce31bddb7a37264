#include "portlayer/server/ServerConnection.h"

#include "portlayer/server/ServerPort.h"

namespace Kyr::PortLayer::Detail {

namespace {

// How long a client may leave its full buffer unread before the server gives it up: a real port
// never blocks its server. Our choice.
constexpr std::chrono::seconds kSendPatience{1};

}  // namespace

CServerConnection::CServerConnection(const std::shared_ptr<CServerPort>& port, std::uint64_t number,
                                     std::unique_ptr<IPacketChannel> channel)
    : port_(port),
      portNumber_(port->Number()),
      number_(number),
      channel_(std::move(channel)),
      memory_(pool_, received_) {}

void CServerConnection::OnClose() {
    Disconnect();
    memory_.Clear();
}

void CServerConnection::Disconnect() {
    if (const auto port = Port()) {
        port->Drop(*this);
    }
}

NtApi::NtStatus CServerConnection::Send(OutgoingPacket& packet) {
    packet.head.threadId = CurrentThreadId();
    // Nearly always there is room at once, and the clock need not be read for a deadline.
    SendResult result = channel_->Send(packet, pool_, received_, CDeadline::Now());
    if (result == SendResult::kTimedOut) {
        result = channel_->Send(packet, pool_, received_, CDeadline::In(kSendPatience));
    }
    if (result == SendResult::kSent) {
        return NtApi::kStatusSuccess;
    }
    // The receiving side of the port sees the end and tells the server.
    channel_->Shutdown();
    return NtApi::kStatusPortDisconnected;
}

}  // namespace Kyr::PortLayer::Detail
