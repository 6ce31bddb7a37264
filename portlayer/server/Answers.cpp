#include "portlayer/server/Answers.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;
using Stage = CServerConnection::Stage;

}  // namespace

bool IsOpenRequest(const PendingMessage& record, const CServerPort& port, const MessageIds& ids) {
    // Legacy servers name a request by all its ids, and a port does not answer the requests of
    // another. The connection may outlive its port: hence the number.
    return record.IsOpen() && !record.isConnectionRequest &&
           record.ids.messageId == ids.messageId &&
           (port.Dialect() == PortDialect::kAlpc || record.ids == ids) &&
           record.connection->PortNumber() == port.Number();
}

NtStatus AnswerConnection(PortDialect dialect, const void* connectionRequest, bool accept,
                          void* context, Handle& handle) {
    handle = nullptr;
    const MessageIds ids = ReadIds(dialect, connectionRequest);
    const auto record = FindPendingMessage(ids.messageId);
    if (!record) {
        return kStatusReplyMessageMismatch;
    }
    std::shared_ptr<CServerConnection> connection;
    {
        const std::lock_guard<std::mutex> lock(record->mutex);
        if (!record->IsOpen() || !record->isConnectionRequest || !(record->ids == ids)) {
            return kStatusReplyMessageMismatch;
        }
        // From here on this thread alone answers, though it has let the lock go.
        record->answered = true;
        connection = record->connection;
    }
    // Whatever becomes of it now, it cannot be answered again.
    EndPendingMessage(record);
    const auto port = connection->Port();
    if (!port || port->Dialect() != dialect) {
        return kStatusReplyMessageMismatch;
    }
    if (!accept) {
        // The end of its channel tells the client.
        port->Drop(*connection);
        return kStatusSuccess;
    }
    // All that belongs to the connection is set before it is Accepted: another thread may complete
    // it, or receive its end, from then on.
    connection->SetContext(context);
    const auto* const bytes = static_cast<const std::uint8_t*>(connectionRequest);
    connection->SetConnectionAnswer({bytes, bytes + TotalLength(bytes)});
    // The client has gone since its request was received.
    if (!connection->ChangeState(Stage::kRequested, Stage::kAccepted)) {
        return kStatusPortDisconnected;
    }
    handle = AddHandle(connection);
    if (handle == nullptr) {
        port->Drop(*connection);
        return kStatusNoMemory;
    }
    // Legacy clients wait until NtCompleteConnectPort.
    if (dialect == PortDialect::kLpc) {
        return kStatusSuccess;
    }
    const NtStatus status = CompleteConnection(*connection);
    if (status != kStatusSuccess) {
        // Closing it drops the connection.
        RemoveHandle(handle);
        handle = nullptr;
    }
    return status;
}

NtStatus CompleteConnection(CServerConnection& connection) {
    const auto port = connection.Port();
    // Connected before the client knows: its first request may come at once, on another thread.
    if (!port || !connection.ChangeState(Stage::kAccepted, Stage::kConnected)) {
        return kStatusPortDisconnected;
    }
    const std::vector<std::uint8_t> answer = connection.TakeConnectionAnswer();
    OutgoingPacket packet(PacketKind::kAccepted);
    // So the client finds messages too long by itself.
    packet.head.flags = static_cast<std::uint32_t>(port->Limits().message);
    packet.SetMessage(answer.data(), answer.size());
    return connection.Send(packet);
}

}  // namespace Kyr::PortLayer::Detail
