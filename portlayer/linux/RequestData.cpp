#include "portlayer/linux/RequestData.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

#include "portlayer/linux/Answers.h"
#include "portlayer/linux/Peer.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

// How long a client may take in all to hand its bytes over. Our choice.
constexpr std::chrono::seconds kFetchPatience{5};

bool ReadStream(int stream, std::uint8_t* buffer, std::size_t size) {
    const CDeadline deadline = CDeadline::In(kFetchPatience);
    while (size != 0) {
        const ssize_t got = ::recv(stream, buffer, size, MSG_DONTWAIT);
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
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    const CFileDescriptor mine(ends[0]);
    CFileDescriptor theirs(ends[1]);
    COutgoingPacket packet(EPacket::Fetch);
    packet.head.exchange = exchange;
    packet.head.fetchEntry = entryIndex;
    packet.head.fetchSize = static_cast<std::uint32_t>(size);
    packet.stream = theirs.Get();
    if (connection.Send(packet) != kStatusSuccess) {
        return false;
    }
    theirs.Reset();
    return ReadStream(mine.Get(), buffer, size);
}

CPendingWrite* FindWrite(CPendingMessage& record, std::uint32_t entryIndex) {
    for (std::size_t i = 0; i < record.writeCount; ++i) {
        if (record.writes[i].entry == entryIndex) {
            return &record.writes[i];
        }
    }
    return nullptr;
}

/// The entry's bytes when they came with the request, else null.
const std::uint8_t* EagerBytes(const CPendingMessage& record, std::uint32_t entryIndex) {
    for (const CEagerEntry& entry : record.eager) {
        if (entry.entry == entryIndex) {
            return entry.slot != kNoSlot ? entry.base : record.inlineBytes.data() + entry.offset;
        }
    }
    return nullptr;
}

/// Copies the entry as the client sent it, unless it has been written over in this length. Lets go
/// of the lock while it waits for the client. False: the client did not hand it over.
bool ReadEntry(CPendingMessage& record, std::unique_lock<std::mutex>& lock,
               std::uint32_t entryIndex, std::uint8_t* buffer, std::size_t size) {
    const CPendingWrite* const write = FindWrite(record, entryIndex);
    if (write != nullptr && write->size >= size) {
        return true;
    }
    if (const std::uint8_t* const bytes = EagerBytes(record, entryIndex)) {
        std::memcpy(buffer, bytes, size);
        return true;
    }
    const std::shared_ptr<CServerConnection> connection = record.connection;
    const std::uint32_t exchange = record.exchange;
    lock.unlock();
    const bool fetched = Fetch(*connection, exchange, entryIndex, buffer, size);
    lock.lock();
    return fetched;
}

std::uint8_t* BytesOf(CPendingWrite& write) {
    return write.area.slot != kNoSlot ? write.area.base : write.bytes.data();
}

CPendingWrite& NewWrite(CPendingMessage& record, std::uint32_t entryIndex) {
    if (record.writeCount == record.writes.size()) {
        record.writes.emplace_back();
    }
    CPendingWrite& write = record.writes[record.writeCount++];
    write.entry = entryIndex;
    write.size = 0;
    return write;
}

/// Makes room for `size` bytes; what was written before is replaced, as every transfer starts at
/// the entry's base.
bool Grow(CPendingMessage& record, CPendingWrite& write, std::size_t size) {
    CSendPool& pool = record.connection->SendPool();
    std::size_t inlineTotal = size;
    for (std::size_t i = 0; i < record.writeCount; ++i) {
        const bool other = &record.writes[i] != &write;
        inlineTotal += other && record.writes[i].area.slot == kNoSlot ? record.writes[i].size : 0;
    }
    if (size <= kMaxInlineTransfer && inlineTotal <= kMaxInline) {
        // Grows only: what a shrunken vector gains is cleared, for nothing.
        write.bytes.resize(std::max(size, write.bytes.size()));
        return true;
    }
    if (write.area.slot != kNoSlot && size <= write.area.size) {
        return true;
    }
    CSendArea area;
    if (!pool.Acquire(size, area)) {
        return false;
    }
    if (write.area.slot != kNoSlot) {
        pool.Release(write.area.slot);
    }
    write.area = area;
    return true;
}

NtStatus CheckTransfer(const CPendingMessage& record, const CServerPort& port,
                       const CMessageIds& ids, std::uint32_t entryIndex, std::size_t size) {
    if (!IsOpenRequest(record, port, ids)) {
        return kStatusReplyMessageMismatch;
    }
    if (entryIndex >= record.entries.count || size > record.entries.entries[entryIndex].size) {
        return kStatusInvalidParameter;
    }
    return kStatusSuccess;
}

}  // namespace

NtStatus ReadRequestData(const CServerPort& port, const CMessageIds& ids, std::uint32_t entryIndex,
                         void* buffer, std::size_t size) {
    const auto record = FindPendingMessage(ids.messageId);
    if (!record) {
        return kStatusReplyMessageMismatch;
    }
    std::unique_lock<std::mutex> lock(record->mutex);
    const NtStatus status = CheckTransfer(*record, port, ids, entryIndex, size);
    if (status != kStatusSuccess || size == 0) {
        return status;
    }
    auto* const bytes = static_cast<std::uint8_t*>(buffer);
    // The request may have been answered while the client was asked for the bytes.
    if (!ReadEntry(*record, lock, entryIndex, bytes, size) || !IsOpenRequest(*record, port, ids)) {
        return kStatusReplyMessageMismatch;
    }
    CPendingWrite* const write = FindWrite(*record, entryIndex);
    if (write != nullptr && write->size != 0) {
        std::memcpy(bytes, BytesOf(*write), std::min(write->size, size));
    }
    return kStatusSuccess;
}

NtStatus WriteRequestData(const CServerPort& port, const CMessageIds& ids, std::uint32_t entryIndex,
                          const void* buffer, std::size_t size) {
    const auto record = FindPendingMessage(ids.messageId);
    if (!record) {
        return kStatusReplyMessageMismatch;
    }
    const std::lock_guard<std::mutex> lock(record->mutex);
    const NtStatus status = CheckTransfer(*record, port, ids, entryIndex, size);
    if (status != kStatusSuccess || size == 0) {
        return status;
    }
    CPendingWrite* write = FindWrite(*record, entryIndex);
    if (write == nullptr) {
        write = &NewWrite(*record, entryIndex);
    }
    if (size > write->size) {
        if (!Grow(*record, *write, size)) {
            return kStatusNoMemory;
        }
        write->size = size;
    }
    std::memcpy(BytesOf(*write), buffer, size);
    return kStatusSuccess;
}

}  // namespace Kyr::PortLayer::Detail
