// The data of a request goes beside the messages: the request brings the first entry along, and
// what the server wrote comes with the reply. Nothing reaches into another process.
#include "portlayer/packets/RequestData.h"

#include <algorithm>
#include <cstring>

#include "portlayer/server/PendingMessages.h"
#include "portlayer/server/ServerConnection.h"

namespace Kyr::PortLayer::Detail {

namespace {

/// Bytes that wait in the server for the reply to take them to the client.
struct PendingWrite {
    std::uint32_t entry = 0;
    std::size_t size = 0;
    SendArea area;                    // when they are in shared memory
    std::vector<std::uint8_t> bytes;  // when they are not
};

}  // namespace

class CRequestData {
  public:
    // Where the bytes of the first entry are, as the server sees them: what it wrote comes first,
    // then what came with the request.
    // Guarded by the record's mutex.
    const std::uint8_t* first = nullptr;  // in `slot`, or else in `inlineBytes`; null: none came
    std::uint32_t slot = kNoSlot;
    std::vector<std::uint8_t> inlineBytes;
    std::vector<PendingWrite> writes;  // the first writeCount; the others keep their memory
    std::size_t writeCount = 0;
};

namespace {

using namespace NtApi;

PendingWrite* FindWrite(CRequestData& data, std::uint32_t entryIndex) {
    for (std::size_t i = 0; i < data.writeCount; ++i) {
        if (data.writes[i].entry == entryIndex) {
            return &data.writes[i];
        }
    }
    return nullptr;
}

CRequestData& DataOf(PendingMessage& record) {
    if (!record.data) {
        record.data = std::make_shared<CRequestData>();
    }
    return *record.data;
}

std::uint8_t* BytesOf(PendingWrite& write) {
    return write.area.slot != kNoSlot ? write.area.base : write.bytes.data();
}

PendingWrite& NewWrite(CRequestData& data, std::uint32_t entryIndex) {
    if (data.writeCount == data.writes.size()) {
        data.writes.emplace_back();
    }
    PendingWrite& write = data.writes[data.writeCount++];
    write.entry = entryIndex;
    write.size = 0;
    return write;
}

/// Makes room for `size` bytes; what was written before is replaced, as every transfer starts at
/// the entry's base.
bool Grow(PendingMessage& record, PendingWrite& write, std::size_t size) {
    CSendPool& pool = record.connection->SendPool();
    const CRequestData& data = DataOf(record);
    // What the reply would carry in its packet, this write as it will be.
    std::size_t inlineTotal = size;
    for (std::size_t i = 0; i < data.writeCount; ++i) {
        const bool other = &data.writes[i] != &write;
        inlineTotal += other && data.writes[i].area.slot == kNoSlot ? data.writes[i].size : 0;
    }
    if (size <= kMaxInlineTransfer && inlineTotal <= kMaxInline) {
        // Grows only: what a shrunken vector gains is cleared, for nothing.
        write.bytes.resize(std::max(size, write.bytes.size()));
        return true;
    }
    if (write.area.slot != kNoSlot && size <= write.area.size) {
        return true;
    }
    SendArea area;
    // Taken before the old one is released: a failure leaves the write as it was.
    if (!pool.Acquire(size, area)) {
        return false;
    }
    if (write.area.slot != kNoSlot) {
        pool.Release(write.area.slot);
    }
    write.area = area;
    return true;
}

}  // namespace

// The client's end.

NtStatus SendEntries(OutgoingPacket& packet, const DataBlock& block, CSendPool& pool,
                     SendArea& area) {
    // Requests put their payload into the first entry, and the server reads it next.
    if (block.count == 0 || block.entries[0].size == 0 || block.entries[0].base == nullptr) {
        return kStatusSuccess;
    }
    const DataEntry& entry = block.entries[0];
    if (entry.size <= kMaxInlineTransfer) {
        packet.AddInline(0, entry.base, entry.size);
        return kStatusSuccess;
    }
    if (!pool.Acquire(entry.size, area)) {
        return kStatusNoMemory;
    }
    std::memcpy(area.base, entry.base, entry.size);
    packet.AddShared(0, area.slot, entry.size);
    return kStatusSuccess;
}

bool TakeWrites(IncomingPacket& packet, std::size_t handle, const DataBlock* entries,
                bool isWaitedFor, CReceivePool& received) {
    const std::uint8_t* inlineBytes = packet.inlineBytes;
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        const TransferRecord record = packet.Transfer(i);
        const std::uint8_t* bytes = inlineBytes;
        if (record.slot != kNoSlot) {
            // Held, though only for the copy: the rules for slots are the same for all that use
            // them.
            bytes = TakeSlot(packet, received, handle, record);
            if (bytes == nullptr) {
                return false;
            }
        } else {
            inlineBytes += record.size;
        }
        const bool fits = entries != nullptr && record.entry < entries->count &&
                          record.size <= entries->entries[record.entry].size;
        std::uint8_t* const target = fits ? entries->entries[record.entry].base : nullptr;
        // A late reply has nowhere to go. Its slots go back all the same.
        if (target != nullptr && record.size != 0) {
            std::memcpy(target, bytes, record.size);
        }
        if (record.slot != kNoSlot) {
            received.Free(record.slot);
        }
        // A server that writes outside of the entries breaks the rules. After a time-out nobody
        // knows them.
        if (!fits && isWaitedFor) {
            return false;
        }
    }
    return true;
}

// The server's end.

bool TakeEntries(IncomingPacket& packet, std::size_t handle, PendingMessage& record) {
    if (packet.head.transferCount == 0) {
        return true;
    }
    const TransferRecord transfer = packet.Transfer(0);
    // The first entry comes whole or not at all: reads are checked against the length in the
    // message.
    if (packet.head.transferCount != 1 || transfer.entry != 0 || record.entries.count == 0 ||
        transfer.size != record.entries.entries[0].size) {
        return false;
    }
    CRequestData& data = DataOf(record);
    if (transfer.slot == kNoSlot) {
        // Copied: the packet's buffer is used again.
        data.inlineBytes.assign(packet.inlineBytes, packet.inlineBytes + transfer.size);
        data.first = data.inlineBytes.data();
        return true;
    }
    data.first = TakeSlot(packet, record.connection->ReceivePool(), handle, transfer);
    data.slot = data.first != nullptr ? transfer.slot : kNoSlot;
    return data.first != nullptr;
}

void AddWrites(OutgoingPacket& packet, const PendingMessage& record) {
    if (!record.data) {
        return;
    }
    for (std::size_t i = 0; i < record.data->writeCount; ++i) {
        const PendingWrite& write = record.data->writes[i];
        if (write.area.slot != kNoSlot) {
            packet.AddShared(write.entry, write.area.slot, write.size);
        } else {
            packet.AddInline(write.entry, write.bytes.data(), write.size);
        }
    }
}

void ReleaseEntries(PendingMessage& record) {
    if (!record.data) {
        return;
    }
    if (record.data->slot != kNoSlot) {
        record.connection->ReceivePool().Free(record.data->slot);
    }
    record.data->slot = kNoSlot;
    record.data->first = nullptr;
}

void ClearRequestData(PendingMessage& record) {
    if (!record.data) {
        return;
    }
    ReleaseEntries(record);
    CRequestData& data = *record.data;
    for (std::size_t i = 0; i < data.writeCount; ++i) {
        if (data.writes[i].area.slot != kNoSlot) {
            record.connection->SendPool().Release(data.writes[i].area.slot);
        }
        data.writes[i].area = {};
    }
    // Emptied, not freed: the record's next message uses the memory.
    data.writeCount = 0;
}

NtStatus ReadEntry(PendingMessage& record, std::uint32_t entryIndex, void* buffer,
                   std::size_t size) {
    CRequestData& data = DataOf(record);
    // Only the first entry comes along.
    if (entryIndex != 0 || data.first == nullptr) {
        return kStatusInvalidParameter;
    }
    std::memcpy(buffer, data.first, size);
    PendingWrite* const write = FindWrite(data, entryIndex);
    if (write != nullptr && write->size != 0) {
        std::memcpy(buffer, BytesOf(*write), std::min(write->size, size));
    }
    return kStatusSuccess;
}

NtStatus WriteEntry(PendingMessage& record, std::uint32_t entryIndex, const void* buffer,
                    std::size_t size) {
    PendingWrite* write = FindWrite(DataOf(record), entryIndex);
    if (write == nullptr) {
        write = &NewWrite(DataOf(record), entryIndex);
    }
    // A shorter write leaves the end of a longer one, as it would in the client's memory.
    if (size > write->size) {
        if (!Grow(record, *write, size)) {
            return kStatusNoMemory;
        }
        write->size = size;
    }
    std::memcpy(BytesOf(*write), buffer, size);
    return kStatusSuccess;
}

}  // namespace Kyr::PortLayer::Detail
