// How a server answers: replies to requests and connection requests of both kinds of ports.
#pragma once

#include "portlayer/packets/RequestData.h"
#include "portlayer/server/ServerPort.h"

namespace Kyr::PortLayer::Detail {

/// True when the record is an open request of the port with these ids. Advanced ports know a
/// message by its message id alone. REQUIRES: the record's mutex is held.
bool IsOpenRequest(const PendingMessage& record, const CServerPort& port, const MessageIds& ids);

/// Replies to the open request with these ids; `fill(packet, connection)` sets the packet's message
/// and view, or returns why there is no reply yet: the request stays open then.
/// kStatusReplyMessageMismatch when the port has no such request.
template <typename Fill>
NtApi::NtStatus AnswerRequest(const CServerPort& port, const MessageIds& ids, Fill fill) {
    const auto record = FindPendingMessage(ids.messageId);
    if (!record) {
        return NtApi::kStatusReplyMessageMismatch;
    }
    std::unique_lock<std::mutex> lock(record->mutex);
    if (!IsOpenRequest(*record, port, ids)) {
        return NtApi::kStatusReplyMessageMismatch;
    }
    OutgoingPacket packet(PacketKind::kReply);
    packet.head.exchange = record->exchange;
    const NtApi::NtStatus filled = fill(packet, record->connection);
    if (filled != NtApi::kStatusSuccess) {
        return filled;
    }
    AddWrites(packet, *record);
    record->answered = true;
    // Before the reply, which takes the client's slots back to it.
    ReleaseEntries(*record);
    const std::shared_ptr<CServerConnection> connection = record->connection;
    // An answered record is this thread's alone. The client may keep the reply waiting, and others
    // who look for their own messages must not wait for that.
    lock.unlock();
    const NtApi::NtStatus status = connection->Send(packet);
    EndPendingMessage(record);
    return status;
}

/// Accepts or refuses; a refused connection has a null handle. On legacy ports the client goes on
/// when the connection is completed.
NtApi::NtStatus AnswerConnection(PortDialect dialect, const void* connectionRequest, bool accept,
                                 void* context, NtApi::Handle& handle);
NtApi::NtStatus CompleteConnection(CServerConnection& connection);

}  // namespace Kyr::PortLayer::Detail
