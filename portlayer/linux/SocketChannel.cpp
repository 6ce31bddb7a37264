#include "portlayer/linux/SocketChannel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/socket.h>

#include "portlayer/linux/NamedFile.h"
#include "portlayer/linux/Peer.h"
#include "portlayer/linux/RunDirectory.h"

namespace Kyr::PortLayer::Detail {

namespace {

union ControlBuffer {
    char bytes[CMSG_SPACE(sizeof(int) * kMaxHandles)];
    cmsghdr align;
};

void TakeDescriptors(msghdr& header, IncomingPacket& packet) {
    // What the packet before brought.
    packet.DropHandles();
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr;
         part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int), sizeof descriptor);
            // Owned at once: one too many is closed and not leaked.
            CSystemHandle owner(descriptor);
            if (packet.handleCount < kMaxHandles) {
                packet.handles[packet.handleCount++] = std::move(owner);
            }
        }
    }
}

void Attach(msghdr& header, ControlBuffer& control, const std::intptr_t* handles,
            std::size_t count) {
    if (count == 0) {
        return;
    }
    header.msg_control = control.bytes;
    header.msg_controllen = CMSG_SPACE(sizeof(int) * count);
    cmsghdr* const part = CMSG_FIRSTHDR(&header);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(sizeof(int) * count);
    std::array<int, kMaxHandles> descriptors;
    std::copy_n(handles, count, descriptors.begin());
    std::memcpy(CMSG_DATA(part), descriptors.data(), sizeof(int) * count);
}

/// The parts of a packet, sent as one.
class CScatter {
  public:
    void Add(const void* bytes, std::size_t size) {
        if (size != 0) {
            parts_[count_++] = {const_cast<void*>(bytes), size};
            size_ += size;
        }
    }
    /// Like send; descriptors go along.
    ssize_t Send(int socket, const std::intptr_t* descriptors, std::size_t descriptorCount) {
        // Never blocks, as waiting is limited by the caller's deadline; a dead peer is a result,
        // not a signal.
        constexpr int kFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
        if (descriptorCount == 0 && size_ <= kGathered) {
            std::uint8_t packet[kGathered];
            std::uint8_t* end = packet;
            for (std::size_t i = 0; i < count_; ++i) {
                end = std::copy_n(static_cast<const std::uint8_t*>(parts_[i].iov_base),
                                  parts_[i].iov_len, end);
            }
            return ::send(socket, packet, size_, kFlags);
        }
        msghdr header = {};
        header.msg_iov = parts_.data();
        header.msg_iovlen = count_;
        ControlBuffer control;
        Attach(header, control, descriptors, descriptorCount);
        return ::sendmsg(socket, &header, kFlags);
    }

  private:
    // Up to here a copy costs less than the system takes to read a list of parts. Measured.
    static constexpr std::size_t kGathered = 1024;

    std::array<iovec, 3 + kMaxDataEntries> parts_;
    std::size_t count_ = 0;
    std::size_t size_ = 0;
};

}  // namespace

CSocketChannel::CSocketChannel(CFileDescriptor socket)
    : socket_(std::move(socket)), peerProcessId_(Detail::PeerProcessId(socket_.Get())) {}

ReceiveResult CSocketChannel::Receive(const CDeadline& deadline, PacketBuffer& buffer,
                                      IncomingPacket& packet) {
    ControlBuffer control;
    iovec part = {buffer.bytes.data(), buffer.bytes.size()};
    for (;;) {
        msghdr header = {};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        header.msg_control = control.bytes;
        header.msg_controllen = sizeof control.bytes;
        // Without a time limit the receive itself blocks: one call for an exchange.
        const int flags = MSG_CMSG_CLOEXEC | (deadline.IsNever() ? 0 : MSG_DONTWAIT);
        const ssize_t size = ::recvmsg(Socket(), &header, flags);
        if (size < 0) {
            if (errno == EINTR) {
                continue;
            }
            if (errno != EAGAIN) {
                return ReceiveResult::kClosed;
            }
            if (deadline.HasPassed() || !WaitFor(Socket(), POLLIN, deadline)) {
                return ReceiveResult::kNothing;
            }
            continue;
        }
        // First, whatever the packet is: descriptors that came are ours to close.
        TakeDescriptors(header, packet);
        if (size == 0) {
            packet.DropHandles();
            return ReceiveResult::kClosed;
        }
        // Cut by the system: longer than any packet of ours, or with more descriptors.
        if ((header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0 ||
            !ParsePacket(buffer, static_cast<std::size_t>(size), packet)) {
            packet.DropHandles();
            return ReceiveResult::kMalformed;
        }
        return ReceiveResult::kPacket;
    }
}

SendResult CSocketChannel::Send(OutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                                const CDeadline& deadline) {
    CPacketLoan loan(packet, pool, freed);
    CScatter scatter;
    scatter.Add(&packet.head, sizeof packet.head);
    scatter.Add(packet.message, packet.head.messageLength);
    scatter.Add(packet.transfers.data(), packet.head.transferCount * sizeof(TransferRecord));
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        if (packet.transfers[i].slot == kNoSlot) {
            scatter.Add(packet.inlineBytes[i], packet.transfers[i].size);
        }
    }
    while (scatter.Send(Socket(), loan.handles.data(), loan.handleCount) < 0) {
        if (errno == EINTR) {
            continue;
        }
        // Packets go whole or not at all, so that there is nothing half sent.
        const bool full = errno == EAGAIN;
        if (!full || deadline.HasPassed() || !WaitFor(Socket(), POLLOUT, deadline)) {
            loan.NotSent();
            return full ? SendResult::kTimedOut : SendResult::kClosed;
        }
    }
    loan.Sent();
    return SendResult::kSent;
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
    NtApi::NtStatus status = Locate(NameOf(name), "port", false, directory, file);
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
