// The data of legacy requests goes from memory to memory: the server's process reads and writes
// that of the waiting client. Nothing of it is in the messages.
#include "portlayer/packets/RequestData.h"

#include "portlayer/server/Answers.h"
#include "portlayer/windows/PipeChannel.h"

namespace Kyr::PortLayer::Detail {

using namespace NtApi;

NtStatus SendEntries(OutgoingPacket&, const DataBlock&, CSendPool&, SendArea&) {
    return kStatusSuccess;
}

bool TakeWrites(IncomingPacket& packet, std::size_t, const DataBlock*, bool, CReceivePool&) {
    return packet.head.transferCount == 0;
}

bool TakeEntries(IncomingPacket& packet, std::size_t, PendingMessage&) {
    return packet.head.transferCount == 0;
}

void AddWrites(OutgoingPacket&, const PendingMessage&) {}

void ReleaseEntries(PendingMessage&) {}

void ClearRequestData(PendingMessage&) {}

namespace {

/// Calls `move(process, address)` for the entry while its request stays open.
template <typename Move>
NtStatus Transfer(const CServerPort& port, const MessageIds& ids, std::uint32_t entryIndex,
                  std::size_t size, Move move) {
    // The lock is held until the bytes have moved: nobody may let the client go on meanwhile.
    return TransferEntry(port, ids, entryIndex, size, [&](PendingMessage& record) {
        // As long as the client waits its memory stands. One that has died makes the move fail.
        const auto& channel = static_cast<const CPipeChannel&>(record.connection->Channel());
        SIZE_T moved = 0;
        const BOOL done =
            move(channel.PeerProcess(), record.entries.entries[entryIndex].base, moved);
        return done != 0 && moved == size ? kStatusSuccess : kStatusReplyMessageMismatch;
    });
}

}  // namespace

NtStatus ReadRequestData(const CServerPort& port, const MessageIds& ids, std::uint32_t entryIndex,
                         void* buffer, std::size_t size) {
    return Transfer(port, ids, entryIndex, size, [&](HANDLE process, void* base, SIZE_T& moved) {
        return ::ReadProcessMemory(process, base, buffer, size, &moved);
    });
}

NtStatus WriteRequestData(const CServerPort& port, const MessageIds& ids, std::uint32_t entryIndex,
                          const void* buffer, std::size_t size) {
    return Transfer(port, ids, entryIndex, size, [&](HANDLE process, void* base, SIZE_T& moved) {
        return ::WriteProcessMemory(process, base, buffer, size, &moved);
    });
}

}  // namespace Kyr::PortLayer::Detail
