#include "portlayer/packets/Packet.h"

#include <cstring>

namespace Kyr::PortLayer::Detail {

namespace {

// "KyP3": changes with the layout of packets, so that ends of two builds do not take one for the
// other.
constexpr std::uint32_t kMagic = 0x3350794B;

/// Whether bytes and handles are neither too few nor too many: each inline transfer has its bytes,
/// each memory that is new to us its handle, and nothing is left over. TakeView and what reads
/// transfers may then take both in this order without checking.
bool TransfersFit(const IncomingPacket& packet) {
    std::uint64_t inlineLeft = packet.head.inlineLength;
    std::size_t handlesLeft = packet.handleCount;
    const auto takeHandle = [&handlesLeft](std::uint64_t slotSize) {
        return slotSize == 0 || handlesLeft-- > 0;
    };
    if (packet.head.viewSlot != kNoSlot && !takeHandle(packet.head.viewSlotSize)) {
        return false;
    }
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        const TransferRecord record = packet.Transfer(i);
        if (record.slot != kNoSlot) {
            if (!takeHandle(record.slotSize)) {
                return false;
            }
        } else if (record.size > inlineLeft || record.slotSize != 0) {
            return false;
        } else {
            inlineLeft -= record.size;
        }
    }
    return inlineLeft == 0 && handlesLeft == 0;
}

}  // namespace

OutgoingPacket::OutgoingPacket(PacketKind kind) {
    head.magic = kMagic;
    head.kind = kind;
    head.viewSlot = kNoSlot;
}

void OutgoingPacket::SetMessage(const void* bytes, std::size_t length) {
    message = bytes;
    head.messageLength = static_cast<std::uint32_t>(length);
}

void OutgoingPacket::SetView(std::uint32_t slot, std::size_t size, std::uint32_t flags) {
    head.viewSlot = slot;
    head.viewSize = size;
    head.viewFlags = flags;
}

void OutgoingPacket::AddInline(std::uint32_t entry, const void* bytes, std::size_t size) {
    inlineBytes[head.transferCount] = bytes;
    transfers[head.transferCount++] = {entry, kNoSlot, size, 0};
    head.inlineLength += static_cast<std::uint32_t>(size);
}

void OutgoingPacket::AddShared(std::uint32_t entry, std::uint32_t slot, std::size_t size) {
    transfers[head.transferCount++] = {entry, slot, size, 0};
}

void IncomingPacket::DropHandles() {
    for (std::size_t i = 0; i < handleCount; ++i) {
        handles[i].Reset();
    }
    handleCount = 0;
}

TransferRecord IncomingPacket::Transfer(std::size_t index) const {
    TransferRecord record;
    std::memcpy(&record, transferRecords + index * sizeof record, sizeof record);
    return record;
}

bool ParsePacket(const PacketBuffer& buffer, std::size_t size, IncomingPacket& packet) {
    PacketHead& head = packet.head;
    if (size < sizeof head) {
        return false;
    }
    std::memcpy(&head, buffer.bytes.data(), sizeof head);
    // Each length by itself first: the sum below cannot overflow then.
    if (head.magic != kMagic || head.messageLength > NtApi::kAlpcMaxMessage ||
        head.transferCount > kMaxDataEntries || head.inlineLength > kMaxInline ||
        (head.viewSlot != kNoSlot && head.viewSlot >= kMaxSlots)) {
        return false;
    }
    // A packet is one message of its channel, so that its size is a statement of its own.
    const std::size_t records = head.transferCount * sizeof(TransferRecord);
    if (size != sizeof head + head.messageLength + records + head.inlineLength) {
        return false;
    }
    packet.message = buffer.bytes.data() + sizeof head;
    packet.transferRecords = packet.message + head.messageLength;
    packet.inlineBytes = packet.transferRecords + records;
    return TransfersFit(packet);
}

const std::uint8_t* TakeSlot(IncomingPacket& packet, CReceivePool& pool, std::size_t& handle,
                             const TransferRecord& transfer) {
    // Only memory that is new comes with a handle; known memory is named by its slot alone.
    if (transfer.slotSize != 0 &&
        !pool.Announce(transfer.slot, transfer.slotSize, packet.handles[handle++])) {
        return nullptr;
    }
    // Refused while the slot is held here: the sender promised not to touch it until it is given
    // back.
    return pool.Hold(transfer.slot, transfer.size);
}

bool TakeView(IncomingPacket& packet, CReceivePool& pool, std::size_t& handle, ReceivedView& view) {
    const PacketHead& head = packet.head;
    if (head.viewSlot == kNoSlot) {
        return true;
    }
    const TransferRecord transfer = {0, head.viewSlot, head.viewSize, head.viewSlotSize};
    view = {head.viewSlot, TakeSlot(packet, pool, handle, transfer),
            static_cast<std::size_t>(head.viewSize), head.viewFlags};
    return view.base != nullptr;
}

CPacketLoan::CPacketLoan(OutgoingPacket& packet, CSendPool& pool, CReceivePool& freed)
    : packet_(packet), pool_(pool), freed_(freed) {
    // Before the packet is sent, in the order in which the receiver takes the handles.
    if (packet.head.viewSlot != kNoSlot) {
        packet.head.viewSlotSize = Lend(packet.head.viewSlot, packet.head.viewMemory);
    }
    // Records of transfers hold no names: where handles do not travel, no transfers do.
    std::uint64_t unnamed = 0;
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        TransferRecord& transfer = packet.transfers[i];
        transfer.slotSize = transfer.slot == kNoSlot ? 0 : Lend(transfer.slot, unnamed);
    }
    // Last, so that the packet brings back as much as it can.
    packet.head.freedSlots = freed.TakeFreed();
}

std::uint64_t CPacketLoan::Lend(std::uint32_t slot, std::uint64_t& name) {
    const SlotReference reference = pool_.Lend(slot);
    if (reference.slotSize != 0) {
        handles[handleCount++] = reference.handle;
        name = reference.name;
    }
    return reference.slotSize;
}

template <typename Action>
void CPacketLoan::ForEachSlot(Action action) {
    if (packet_.head.viewSlot != kNoSlot) {
        action(packet_.head.viewSlot);
    }
    for (std::size_t i = 0; i < packet_.head.transferCount; ++i) {
        if (packet_.transfers[i].slot != kNoSlot) {
            action(packet_.transfers[i].slot);
        }
    }
}

void CPacketLoan::Sent() {
    ForEachSlot([this](std::uint32_t slot) { pool_.Sent(slot); });
}

void CPacketLoan::NotSent() {
    // The next packet takes them.
    freed_.PutBack(packet_.head.freedSlots);
    ForEachSlot([this](std::uint32_t slot) { pool_.NotSent(slot); });
}

}  // namespace Kyr::PortLayer::Detail
