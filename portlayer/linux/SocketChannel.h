// A channel over a connected SOCK_SEQPACKET socket.
#pragma once

#include "portlayer/core/Channel.h"
#include "portlayer/linux/FileDescriptor.h"

namespace Kyr::PortLayer::Detail {

class CSocketChannel final : public IChannel {
  public:
    explicit CSocketChannel(CFileDescriptor socket);

    EReceive Receive(const CDeadline& deadline, CPacketBuffer& buffer,
                     CIncomingPacket& packet) override;
    ESend Send(COutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
               const CDeadline& deadline) override;
    void Shutdown() override;
    std::uint32_t PeerProcessId() const override { return peerProcessId_; }

    int Socket() const { return socket_.Get(); }

  private:
    const CFileDescriptor socket_;
    const std::uint32_t peerProcessId_;
};

}  // namespace Kyr::PortLayer::Detail
