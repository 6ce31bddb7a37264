// The data of legacy requests goes from memory to memory: the server's process reads and writes
// that of the waiting client. Nothing of it is in the messages.
#include "portlayer/packets/RequestData.h"

#include "portlayer/server/PendingMessages.h"
#include "portlayer/server/ServerConnection.h"
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

HANDLE ClientOf(const PendingMessage& record) {
    return static_cast<const CPipeChannel&>(record.connection->Channel()).PeerProcess();
}

}  // namespace

// The record's lock is held until the bytes have moved: nobody may let the client go on meanwhile,
// and as long as it waits its memory stands. One that has died makes the move fail.

NtStatus ReadEntry(PendingMessage& record, std::uint32_t entryIndex, void* buffer,
                   std::size_t size) {
    SIZE_T moved = 0;
    const BOOL done = ::ReadProcessMemory(ClientOf(record), record.entries.entries[entryIndex].base,
                                          buffer, size, &moved);
    return done != 0 && moved == size ? kStatusSuccess : kStatusReplyMessageMismatch;
}

NtStatus WriteEntry(PendingMessage& record, std::uint32_t entryIndex, const void* buffer,
                    std::size_t size) {
    SIZE_T moved = 0;
    const BOOL done = ::WriteProcessMemory(
        ClientOf(record), record.entries.entries[entryIndex].base, buffer, size, &moved);
    return done != 0 && moved == size ? kStatusSuccess : kStatusReplyMessageMismatch;
}

}  // namespace Kyr::PortLayer::Detail
