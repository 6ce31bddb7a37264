#include "portlayer/linux/SocketChannel.h"

#include <string>
#include <sys/socket.h>

#include "portlayer/linux/NamedSection.h"
#include "portlayer/linux/Peer.h"
#include "portlayer/linux/RunDirectory.h"
#include "portlayer/linux/SocketPackets.h"

namespace Kyr::PortLayer::Detail {

CSocketChannel::CSocketChannel(CFileDescriptor socket)
    : socket_(std::move(socket)), peerProcessId_(Detail::PeerProcessId(socket_.Get())) {}

ReceiveResult CSocketChannel::Receive(const CDeadline& deadline, PacketBuffer& buffer,
                                      IncomingPacket& packet) {
    return ReceivePacket(socket_.Get(), deadline, buffer, packet);
}

SendResult CSocketChannel::Send(OutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                                const CDeadline& deadline) {
    return SendPacket(socket_.Get(), packet, pool, freed, deadline);
}

void CSocketChannel::Shutdown() {
    // Wakes whoever is inside a call, which a close would not. The descriptor stays open until
    // nobody uses the channel.
    ::shutdown(socket_.Get(), SHUT_RDWR);
}

NtApi::NtStatus OpenChannel(const NtApi::UnicodeString& name, const CDeadline& deadline,
                            std::unique_ptr<IPacketChannel>& channel) {
    std::string file;
    CFileDescriptor directory;
    NtApi::NtStatus status = FileNameOf(name, "port", file);
    if (status == NtApi::kStatusSuccess) {
        status = OpenRunDirectory(false, directory);
    }
    CFileDescriptor socket;
    if (status == NtApi::kStatusSuccess) {
        status = ConnectSocket(PathIn(directory, file), deadline, socket);
    }
    if (status != NtApi::kStatusSuccess) {
        return status;
    }
    // The directory keeps other users out, all but root.
    if (!IsSameUser(socket.Get())) {
        return NtApi::kStatusAccessDenied;
    }
    channel = std::make_unique<CSocketChannel>(std::move(socket));
    RenewViews();
    return NtApi::kStatusSuccess;
}

}  // namespace Kyr::PortLayer::Detail
