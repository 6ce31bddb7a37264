// A channel over a connected SOCK_SEQPACKET socket; handles travel as descriptors.
#pragma once

#include "portlayer/linux/FileDescriptor.h"
#include "portlayer/packets/PacketChannel.h"

namespace Kyr::PortLayer::Detail {

class CSocketChannel final : public IPacketChannel {
  public:
    explicit CSocketChannel(CFileDescriptor socket);

    ReceiveResult Receive(const CDeadline& deadline, PacketBuffer& buffer,
                          IncomingPacket& packet) override;
    SendResult Send(OutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                    const CDeadline& deadline) override;
    void Shutdown() override;
    std::uint32_t PeerProcessId() const override { return peerProcessId_; }

    int Socket() const { return socket_.Get(); }

  private:
    const CFileDescriptor socket_;
    const std::uint32_t peerProcessId_;
};

}  // namespace Kyr::PortLayer::Detail
