// What a legacy server reads from, and writes to, the memory that a request's data entries name.
//
// The back end decides how the bytes get from one process to the other: beside the messages, or
// from memory to memory.
// Threads: any. REQUIRE of functions that take a record: its mutex is held.
#pragma once

#include <memory>

#include "portlayer/packets/DataBlock.h"
#include "portlayer/packets/Packet.h"

namespace Kyr::PortLayer::Detail {

struct PendingMessage;

// In the client.

/// Lets the entries that a server reads go along with the request; `area` holds them until the
/// exchange is over, when it is needed. kStatusNoMemory.
NtApi::NtStatus SendEntries(OutgoingPacket& packet, const DataBlock& block, CSendPool& pool,
                            SendArea& area);
/// Takes what the server wrote out of a reply, its handles from `handle` on. `entries` are those of
/// the waiting request, if any. False when the server broke the rules.
bool TakeWrites(IncomingPacket& packet, std::size_t handle, const DataBlock* entries,
                bool isWaitedFor, CReceivePool& received);

// In the server.

/// What the back end keeps of a request's entries.
class CRequestData;

/// Takes the entries that came with the request, their handles from `handle` on. False when the
/// client broke the rules.
bool TakeEntries(IncomingPacket& packet, std::size_t handle, PendingMessage& record);
/// Puts what was written to the request's entries into the reply.
void AddWrites(OutgoingPacket& packet, const PendingMessage& record);
/// The request is about to be answered: gives back what came with it.
void ReleaseEntries(PendingMessage& record);
/// The record ends.
void ClearRequestData(PendingMessage& record);

/// Moves bytes from, or to, the start of an entry. kStatusReplyMessageMismatch: the client is gone;
/// kStatusInvalidParameter: the bytes of this entry did not come along; kStatusNoMemory.
/// REQUIRES: the request is open, and has the entry, which is not shorter.
NtApi::NtStatus ReadEntry(PendingMessage& record, std::uint32_t entryIndex, void* buffer,
                          std::size_t size);
NtApi::NtStatus WriteEntry(PendingMessage& record, std::uint32_t entryIndex, const void* buffer,
                           std::size_t size);

}  // namespace Kyr::PortLayer::Detail
