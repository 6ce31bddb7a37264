#include "portlayer/linux/Packet.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

#include "portlayer/linux/Peer.h"

namespace Kyr::PortLayer::Detail {

namespace {

// "KyP1": changes with the layout of packets.
constexpr std::uint32_t kMagic = 0x3150794B;

union ControlBuffer {
    char bytes[CMSG_SPACE(sizeof(int) * kMaxDescriptors)];
    cmsghdr align;
};

void TakeDescriptors(msghdr& header, CIncomingPacket& packet) {
    packet.DropDescriptors();
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr;
         part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int), sizeof descriptor);
            CFileDescriptor owner(descriptor);
            if (packet.descriptorCount < kMaxDescriptors) {
                packet.descriptors[packet.descriptorCount++] = std::move(owner);
            }
        }
    }
}

void Attach(msghdr& header, ControlBuffer& control, const int* descriptors, std::size_t count) {
    if (count == 0) {
        return;
    }
    header.msg_control = control.bytes;
    header.msg_controllen = CMSG_SPACE(sizeof(int) * count);
    cmsghdr* const part = CMSG_FIRSTHDR(&header);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(sizeof(int) * count);
    std::memcpy(CMSG_DATA(part), descriptors, sizeof(int) * count);
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
    ssize_t Send(int socket, const int* descriptors, std::size_t descriptorCount) {
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

bool TransfersFit(const CIncomingPacket& packet) {
    std::uint64_t inlineLeft = packet.head.inlineLength;
    std::size_t descriptorsLeft = packet.descriptorCount;
    const auto takeDescriptor = [&descriptorsLeft](std::uint64_t slotSize) {
        return slotSize == 0 || descriptorsLeft-- > 0;
    };
    if (packet.head.viewSlot != kNoSlot && !takeDescriptor(packet.head.viewSlotSize)) {
        return false;
    }
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        const CTransferRecord record = packet.Transfer(i);
        if (record.slot != kNoSlot) {
            if (!takeDescriptor(record.slotSize)) {
                return false;
            }
        } else if (record.size > inlineLeft || record.slotSize != 0) {
            return false;
        } else {
            inlineLeft -= record.size;
        }
    }
    if (packet.head.kind == EPacket::Fetch && !takeDescriptor(1)) {
        return false;
    }
    return inlineLeft == 0 && descriptorsLeft == 0;
}

}  // namespace

COutgoingPacket::COutgoingPacket(EPacket kind) {
    head.magic = kMagic;
    head.kind = kind;
    head.viewSlot = kNoSlot;
}

void COutgoingPacket::SetMessage(const void* bytes, std::size_t length) {
    message = bytes;
    head.messageLength = static_cast<std::uint32_t>(length);
}

void COutgoingPacket::SetView(std::uint32_t slot, std::size_t size, std::uint32_t flags) {
    head.viewSlot = slot;
    head.viewSize = size;
    head.viewFlags = flags;
}

void COutgoingPacket::AddInline(std::uint32_t entry, const void* bytes, std::size_t size) {
    Transfer& transfer = transfers[transferCount++];
    transfer.entry = entry;
    transfer.slot = kNoSlot;
    transfer.bytes = bytes;
    transfer.size = size;
    head.inlineLength += static_cast<std::uint32_t>(size);
}

void COutgoingPacket::AddShared(std::uint32_t entry, std::uint32_t slot, std::size_t size) {
    Transfer& transfer = transfers[transferCount++];
    transfer.entry = entry;
    transfer.slot = slot;
    transfer.bytes = nullptr;
    transfer.size = size;
}

void CIncomingPacket::DropDescriptors() {
    for (std::size_t i = 0; i < descriptorCount; ++i) {
        descriptors[i].Reset();
    }
    descriptorCount = 0;
}

CTransferRecord CIncomingPacket::Transfer(std::size_t index) const {
    CTransferRecord record;
    std::memcpy(&record, transferRecords + index * sizeof record, sizeof record);
    return record;
}

bool ParsePacket(const CPacketBuffer& buffer, std::size_t size, CIncomingPacket& packet) {
    CPacketHead& head = packet.head;
    if (size < sizeof head) {
        return false;
    }
    std::memcpy(&head, buffer.bytes.data(), sizeof head);
    if (head.magic != kMagic || head.messageLength > NtApi::kAlpcMaxMessage ||
        head.transferCount > kMaxDataEntries || head.inlineLength > kMaxInline ||
        (head.viewSlot != kNoSlot && head.viewSlot >= kMaxSlots)) {
        return false;
    }
    const std::size_t records = head.transferCount * sizeof(CTransferRecord);
    if (size != sizeof head + head.messageLength + records + head.inlineLength) {
        return false;
    }
    packet.message = buffer.bytes.data() + sizeof head;
    packet.transferRecords = packet.message + head.messageLength;
    packet.inlineBytes = packet.transferRecords + records;
    return TransfersFit(packet);
}

EReceive ReceivePacket(int socket, const CDeadline& deadline, CPacketBuffer& buffer,
                       CIncomingPacket& packet) {
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
        const ssize_t size = ::recvmsg(socket, &header, flags);
        if (size < 0) {
            if (errno == EINTR) {
                continue;
            }
            if (errno != EAGAIN) {
                return EReceive::Closed;
            }
            if (deadline.HasPassed() || !WaitFor(socket, POLLIN, deadline)) {
                return EReceive::Nothing;
            }
            continue;
        }
        TakeDescriptors(header, packet);
        if (size == 0) {
            packet.DropDescriptors();
            return EReceive::Closed;
        }
        if ((header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0 ||
            !ParsePacket(buffer, static_cast<std::size_t>(size), packet)) {
            packet.DropDescriptors();
            return EReceive::Malformed;
        }
        return EReceive::Packet;
    }
}

ESend SendPacket(int socket, COutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                 const CDeadline& deadline) {
    std::array<CTransferRecord, kMaxDataEntries> records;
    std::array<int, kMaxDescriptors> descriptors;
    std::size_t descriptorCount = 0;
    const auto refer = [&](std::uint32_t slot) -> std::size_t {
        const CSlotReference reference = pool.Lend(slot);
        if (reference.slotSize != 0) {
            descriptors[descriptorCount++] = reference.descriptor;
        }
        return reference.slotSize;
    };
    if (packet.head.viewSlot != kNoSlot) {
        packet.head.viewSlotSize = refer(packet.head.viewSlot);
    }
    for (std::size_t i = 0; i < packet.transferCount; ++i) {
        const COutgoingPacket::Transfer& transfer = packet.transfers[i];
        records[i] = {transfer.entry, transfer.slot, transfer.size,
                      transfer.slot == kNoSlot ? 0 : refer(transfer.slot)};
    }
    if (packet.stream >= 0) {
        descriptors[descriptorCount++] = packet.stream;
    }
    packet.head.transferCount = static_cast<std::uint32_t>(packet.transferCount);
    packet.head.freedSlots = freed.TakeFreed();

    const auto forEachSlot = [&packet](auto action) {
        if (packet.head.viewSlot != kNoSlot) {
            action(packet.head.viewSlot);
        }
        for (std::size_t i = 0; i < packet.transferCount; ++i) {
            if (packet.transfers[i].slot != kNoSlot) {
                action(packet.transfers[i].slot);
            }
        }
    };

    CScatter scatter;
    scatter.Add(&packet.head, sizeof packet.head);
    scatter.Add(packet.message, packet.head.messageLength);
    scatter.Add(records.data(), packet.transferCount * sizeof(CTransferRecord));
    for (std::size_t i = 0; i < packet.transferCount; ++i) {
        if (packet.transfers[i].slot == kNoSlot) {
            scatter.Add(packet.transfers[i].bytes, packet.transfers[i].size);
        }
    }
    while (scatter.Send(socket, descriptors.data(), descriptorCount) < 0) {
        if (errno == EINTR) {
            continue;
        }
        const bool full = errno == EAGAIN;
        if (!full || deadline.HasPassed() || !WaitFor(socket, POLLOUT, deadline)) {
            freed.PutBack(packet.head.freedSlots);
            forEachSlot([&pool](std::uint32_t slot) { pool.NotSent(slot); });
            return full ? ESend::TimedOut : ESend::Closed;
        }
    }
    forEachSlot([&pool](std::uint32_t slot) { pool.Sent(slot); });
    return ESend::Sent;
}

}  // namespace Kyr::PortLayer::Detail
