// The server's end of a request's data: the request brings its first entry along, other entries are
// fetched from the waiting client over a stream, and written bytes go with the reply. Nothing
// reaches into another process.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

#include "portlayer/linux/FileDescriptor.h"
#include "portlayer/linux/Peer.h"
#include "portlayer/server/Answers.h"

namespace Kyr::PortLayer::Detail {

namespace {

/// Bytes that wait in the server for the reply to take them to the client.
struct PendingWrite {
    std::uint32_t entry = 0;
    std::size_t size = 0;
    SendArea area;                    // when they are in shared memory
    std::vector<std::uint8_t> bytes;  // when they are not
};

/// Bytes of a data entry that came with the request.
struct EagerEntry {
    std::uint32_t entry = 0;
    std::size_t size = 0;
    std::uint32_t slot = kNoSlot;
    const std::uint8_t* base = nullptr;  // of the slot; else:
    std::size_t offset = 0;              // in CRequestData::inlineBytes
};

}  // namespace

class CRequestData {
  public:
    // Where the bytes of an entry are, as the server sees them: what it wrote comes first, then
    // what came with the request, then the client, who is asked.
    // Guarded by the record's mutex.
    std::vector<EagerEntry> eager;
    std::vector<std::uint8_t> inlineBytes;
    std::vector<PendingWrite> writes;  // the first writeCount; the others keep their memory
    std::size_t writeCount = 0;
};

namespace {

using namespace NtApi;

// How long a client may take in all to hand its bytes over. Our choice.
constexpr std::chrono::seconds kFetchPatience{5};

bool ReadStream(int stream, std::uint8_t* buffer, std::size_t size) {
    const CDeadline deadline = CDeadline::In(kFetchPatience);
    while (size != 0) {
        const ssize_t got = ::recv(stream, buffer, size, MSG_DONTWAIT);
        // Nothing yet: wait. Nothing any more, as the client has closed its end or died: give up.
        const bool again = got < 0 && (errno == EINTR || errno == EAGAIN);
        if (again && WaitFor(stream, POLLIN, deadline)) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        buffer += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

bool Fetch(CServerConnection& connection, std::uint32_t exchange, std::uint32_t entryIndex,
           std::uint8_t* buffer, std::size_t size) {
    // A stream beside the packets: an entry may be longer than any of them, and the client's end
    // hands it over on whichever thread reads.
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    const CFileDescriptor mine(ends[0]);
    CFileDescriptor theirs(ends[1]);
    OutgoingPacket packet(PacketKind::kFetch);
    packet.head.exchange = exchange;
    packet.head.fetchEntry = entryIndex;
    packet.head.fetchSize = static_cast<std::uint32_t>(size);
    packet.stream = theirs.Get();
    if (connection.Send(packet) != kStatusSuccess) {
        return false;
    }
    // The client has its own now. With ours open the stream would not end when the client closes
    // it.
    theirs.Reset();
    return ReadStream(mine.Get(), buffer, size);
}

PendingWrite* FindWrite(CRequestData& data, std::uint32_t entryIndex) {
    for (std::size_t i = 0; i < data.writeCount; ++i) {
        if (data.writes[i].entry == entryIndex) {
            return &data.writes[i];
        }
    }
    return nullptr;
}

/// The entry's bytes when they came with the request, else null.
const std::uint8_t* EagerBytes(const CRequestData& data, std::uint32_t entryIndex) {
    for (const EagerEntry& entry : data.eager) {
        if (entry.entry == entryIndex) {
            return entry.slot != kNoSlot ? entry.base : data.inlineBytes.data() + entry.offset;
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

/// Copies the entry as the client sent it, unless it has been written over in this length. Lets go
/// of the lock while it waits for the client. False: the client did not hand it over.
bool ReadEntry(PendingMessage& record, std::unique_lock<std::mutex>& lock, std::uint32_t entryIndex,
               std::uint8_t* buffer, std::size_t size) {
    // All of it will be covered by what was written (ReadRequestData).
    const PendingWrite* const write = FindWrite(DataOf(record), entryIndex);
    if (write != nullptr && write->size >= size) {
        return true;
    }
    if (const std::uint8_t* const bytes = EagerBytes(DataOf(record), entryIndex)) {
        std::memcpy(buffer, bytes, size);
        return true;
    }
    const std::shared_ptr<CServerConnection> connection = record.connection;
    const std::uint32_t exchange = record.exchange;
    // The client may take seconds. The request can be answered, or its client can go, meanwhile:
    // only what was copied before is used.
    lock.unlock();
    const bool fetched = Fetch(*connection, exchange, entryIndex, buffer, size);
    lock.lock();
    return fetched;
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

bool TakeEntries(IncomingPacket& packet, std::size_t handle, PendingMessage& record) {
    CReceivePool& pool = record.connection->ReceivePool();
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        const TransferRecord transfer = packet.Transfer(i);
        // An entry comes whole or not at all: reads are checked against the length in the message.
        if (transfer.entry >= record.entries.count ||
            transfer.size != record.entries.entries[transfer.entry].size) {
            return false;
        }
        CRequestData& data = DataOf(record);
        EagerEntry entry;
        entry.entry = transfer.entry;
        entry.size = transfer.size;
        if (transfer.slot == kNoSlot) {
            // Inline bytes stand in the packet one after another, and are copied to the same
            // places: the packet's buffer is used again.
            entry.offset = data.inlineBytes.size();
            const std::uint8_t* const bytes = packet.inlineBytes + entry.offset;
            data.inlineBytes.insert(data.inlineBytes.end(), bytes, bytes + transfer.size);
        } else {
            if (transfer.slotSize != 0 &&
                !pool.Announce(transfer.slot, transfer.slotSize, packet.handles[handle++])) {
                return false;
            }
            entry.base = pool.Hold(transfer.slot, transfer.size);
            if (entry.base == nullptr) {
                return false;
            }
            entry.slot = transfer.slot;
        }
        data.eager.push_back(entry);
    }
    return true;
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
    for (const EagerEntry& entry : record.data->eager) {
        if (entry.slot != kNoSlot) {
            record.connection->ReceivePool().Free(entry.slot);
        }
    }
    record.data->eager.clear();
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
    data.inlineBytes.clear();
    data.writeCount = 0;
}

NtStatus ReadRequestData(const CServerPort& port, const MessageIds& ids, std::uint32_t entryIndex,
                         void* buffer, std::size_t size) {
    return TransferEntry(port, ids, entryIndex, size, [&](PendingMessage& record, auto& lock) {
        auto* const bytes = static_cast<std::uint8_t*>(buffer);
        // The request may have been answered while the client was asked for the bytes.
        if (!ReadEntry(record, lock, entryIndex, bytes, size) ||
            !IsOpenRequest(record, port, ids)) {
            return kStatusReplyMessageMismatch;
        }
        PendingWrite* const write = FindWrite(DataOf(record), entryIndex);
        if (write != nullptr && write->size != 0) {
            std::memcpy(bytes, BytesOf(*write), std::min(write->size, size));
        }
        return kStatusSuccess;
    });
}

NtStatus WriteRequestData(const CServerPort& port, const MessageIds& ids, std::uint32_t entryIndex,
                          const void* buffer, std::size_t size) {
    return TransferEntry(port, ids, entryIndex, size, [&](PendingMessage& record, const auto&) {
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
    });
}

}  // namespace Kyr::PortLayer::Detail
