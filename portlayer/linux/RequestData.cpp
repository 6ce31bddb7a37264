#include "portlayer/linux/RequestData.h"

#include <algorithm>
#include <cstring>
#include <errno.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "portlayer/linux/Answers.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

// How long a client may pause while it hands its bytes over. Our choice.
constexpr std::chrono::seconds kFetchPatience{5};

bool ReadStream(int stream, std::uint8_t* buffer, std::size_t size) {
    const timeval patience = {kFetchPatience.count(), 0};
    ::setsockopt(stream, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    while (size != 0) {
        const ssize_t got = ::recv(stream, buffer, size, 0);
        if (got < 0 && errno == EINTR) {
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

bool Fetch(const CPendingMessage& record, std::uint32_t entryIndex, std::uint8_t* buffer,
           std::size_t size) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    const CFileDescriptor mine(ends[0]);
    CFileDescriptor theirs(ends[1]);
    COutgoingPacket packet(EPacket::Fetch);
    packet.head.exchange = record.exchange;
    packet.head.fetchEntry = entryIndex;
    packet.head.fetchSize = static_cast<std::uint32_t>(size);
    packet.stream = theirs.Get();
    if (record.connection->Send(packet) != kStatusSuccess) {
        return false;
    }
    theirs.Reset();
    return ReadStream(mine.Get(), buffer, size);
}

bool ReadEntry(const CPendingMessage& record, std::uint32_t entryIndex, std::uint8_t* buffer,
               std::size_t size) {
    for (const CEagerEntry& entry : record.eager) {
        if (entry.entry == entryIndex) {
            const std::uint8_t* const bytes =
                entry.slot != kNoSlot ? entry.base : record.inlineBytes.data() + entry.offset;
            std::memcpy(buffer, bytes, size);
            return true;
        }
    }
    return Fetch(record, entryIndex, buffer, size);
}

CPendingWrite* FindWrite(CPendingMessage& record, std::uint32_t entryIndex) {
    for (std::size_t i = 0; i < record.writeCount; ++i) {
        if (record.writes[i].entry == entryIndex) {
            return &record.writes[i];
        }
    }
    return nullptr;
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
        write.bytes.resize(size);
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
    const std::lock_guard<std::mutex> lock(record->mutex);
    const NtStatus status = CheckTransfer(*record, port, ids, entryIndex, size);
    if (status != kStatusSuccess || size == 0) {
        return status;
    }
    auto* const bytes = static_cast<std::uint8_t*>(buffer);
    CPendingWrite* const write = FindWrite(*record, entryIndex);
    const std::size_t written = write != nullptr ? std::min(write->size, size) : 0;
    if (written < size && !ReadEntry(*record, entryIndex, bytes, size)) {
        return kStatusReplyMessageMismatch;
    }
    if (written != 0) {
        std::memcpy(bytes, BytesOf(*write), written);
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
