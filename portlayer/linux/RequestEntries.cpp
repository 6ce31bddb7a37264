// The client's end of a request's data: the first entry goes along with the request, others when
// the server asks for them; what the server wrote comes with the reply.
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

#include "portlayer/linux/Peer.h"
#include "portlayer/packets/RequestData.h"

namespace Kyr::PortLayer::Detail {

namespace {

// How long a server may take in all to receive the bytes that it asked for. Our choice.
constexpr std::chrono::seconds kFetchPatience{5};

}  // namespace

std::uint32_t SendEntries(OutgoingPacket& packet, const DataBlock& block, CSendPool& pool) {
    // Requests put their payload into the first entry, and the server reads it next.
    if (block.count == 0 || block.entries[0].size == 0 || block.entries[0].base == nullptr) {
        return kNoSlot;
    }
    const DataEntry& entry = block.entries[0];
    if (entry.size <= kMaxInlineTransfer) {
        packet.AddInline(0, entry.base, entry.size);
        return kNoSlot;
    }
    // Without memory the entry stays here, and the server asks for it.
    SendArea area;
    if (pool.Acquire(entry.size, area)) {
        std::memcpy(area.base, entry.base, entry.size);
        packet.AddShared(0, area.slot, entry.size);
    }
    return area.slot;
}

bool TakeWrites(IncomingPacket& packet, std::size_t handle, const DataBlock* entries,
                bool isWaitedFor, CReceivePool& received) {
    const std::uint8_t* inlineBytes = packet.inlineBytes;
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        const TransferRecord record = packet.Transfer(i);
        const std::uint8_t* bytes = inlineBytes;
        if (record.slot != kNoSlot) {
            if (record.slotSize != 0) {
                CSystemHandle& memory = packet.handles[handle++];
                const bool mapped = received.Announce(record.slot, record.slotSize, memory);
                memory.Reset();
                if (!mapped) {
                    return false;
                }
            }
            // Held, though only for the copy: the rules for slots are the same for all that use
            // them.
            bytes = received.Hold(record.slot, record.size);
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

bool HandOverEntry(IncomingPacket& packet, const DataBlock* entries) {
    if (entries == nullptr || packet.head.fetchEntry >= entries->count ||
        packet.head.fetchSize > entries->entries[packet.head.fetchEntry].size) {
        return false;
    }
    // ParsePacket has seen to it that a fetch comes with its stream.
    const int stream = static_cast<int>(packet.handles[0].Get());
    const CDeadline deadline = CDeadline::In(kFetchPatience);
    const std::uint8_t* bytes = entries->entries[packet.head.fetchEntry].base;
    std::size_t left = packet.head.fetchSize;
    while (left != 0) {
        const ssize_t sent = ::send(stream, bytes, left, MSG_NOSIGNAL | MSG_DONTWAIT);
        const bool again = sent < 0 && (errno == EINTR || errno == EAGAIN);
        if (again && WaitFor(stream, POLLOUT, deadline)) {
            continue;
        }
        if (sent <= 0) {
            // The server gave up on these bytes; its request is still open.
            return true;
        }
        bytes += sent;
        left -= static_cast<std::size_t>(sent);
    }
    return true;
}

}  // namespace Kyr::PortLayer::Detail
