// The client's calls on legacy ports.
#include <algorithm>
#include <cstring>

#include "ntapi/Status.h"
#include "portlayer/ClientFunctions.h"
#include "portlayer/client/ClientConnection.h"
#include "portlayer/core/Handles.h"
#include "portlayer/packets/RequestData.h"

namespace Kyr::PortLayer {

namespace {

using namespace Detail;
using namespace NtApi;

/// The connection of the handle and the data block of the message that is to be sent through it.
NtStatus CheckSending(Handle handle, const void* message,
                      std::shared_ptr<CClientConnection>& connection, DataBlock& block) {
    connection = Find<CClientConnection>(handle);
    if (!connection || connection->Dialect() != PortDialect::kLpc) {
        return kStatusInvalidHandle;
    }
    const NtStatus status = CheckLengths(PortDialect::kLpc, message, connection->Limit());
    return status == kStatusSuccess ? ReadDataBlock(message, TotalLength(message), block) : status;
}

}  // namespace

NtStatus KYR_NTAPI NtConnectPort(Handle* port, UnicodeString* name, SecurityQualityOfService*,
                                 void* clientView, void* serverView,
                                 std::uint32_t* maxMessageLength, void* connectionInfo,
                                 std::uint32_t* connectionInfoLength) {
    if (port == nullptr || name == nullptr || clientView != nullptr || serverView != nullptr) {
        return kStatusInvalidParameter;
    }
    const std::size_t header = LpcLayout().headerSize;
    // The system makes a message of the connection data; the server receives it like any other.
    std::uint8_t message[kLongestLpcMessage] = {};
    const std::size_t infoLength =
        connectionInfo != nullptr && connectionInfoLength != nullptr ? *connectionInfoLength : 0;
    if (infoLength > LpcLayout().maxMessage - header) {
        return kStatusPortMessageTooLong;
    }
    StoreField(message, kDataLengthOffset, static_cast<std::uint16_t>(infoLength));
    StoreField(message, kTotalLengthOffset, static_cast<std::uint16_t>(header + infoLength));
    if (infoLength != 0) {
        std::memcpy(message + header, connectionInfo, infoLength);
    }
    std::shared_ptr<CClientConnection> connection;
    std::vector<std::uint8_t> answer;
    const NtStatus status =
        CClientConnection::Connect(*name, PortDialect::kLpc, LpcLayout().maxMessage, message,
                                   CDeadline::Never(), connection, answer);
    if (status != kStatusSuccess) {
        return status;
    }
    if (infoLength != 0) {
        // The answer replaces what was sent, and may be shorter, never longer: the buffer is that
        // long.
        const std::size_t length =
            std::min(infoLength, answer.size() > header ? answer.size() - header : std::size_t{0});
        std::memcpy(connectionInfo, answer.data() + header, length);
        *connectionInfoLength = static_cast<std::uint32_t>(length);
    }
    if (maxMessageLength != nullptr) {
        *maxMessageLength = static_cast<std::uint32_t>(connection->Limit());
    }
    *port = AddHandle(std::move(connection));
    return *port != nullptr ? kStatusSuccess : kStatusNoMemory;
}

NtStatus KYR_NTAPI NtRequestPort(Handle handle, void* request) {
    std::shared_ptr<CClientConnection> connection;
    DataBlock block;
    const NtStatus status = CheckSending(handle, request, connection, block);
    if (status != kStatusSuccess) {
        return status;
    }
    // The server may read the memory of requests while they wait. A one-way message does not wait.
    if (DataInfoOffset(request) != 0) {
        return kStatusInvalidParameter;
    }
    OutgoingPacket packet(PacketKind::kDatagram);
    packet.SetMessage(request, TotalLength(request));
    return connection->Post(packet, CDeadline::Never());
}

NtStatus KYR_NTAPI NtRequestWaitReplyPort(Handle handle, void* request, void* reply) {
    std::shared_ptr<CClientConnection> connection;
    DataBlock block;
    NtStatus status = CheckSending(handle, request, connection, block);
    if (status != kStatusSuccess) {
        return status;
    }
    OutgoingPacket packet(PacketKind::kRequest);
    packet.SetMessage(request, TotalLength(request));
    SendArea area;
    status = SendEntries(packet, block, connection->SendPool(), area);
    if (status != kStatusSuccess) {
        return status;
    }
    PendingExchange exchange;
    exchange.reply = static_cast<std::uint8_t*>(reply);
    // The call has no length for the reply: its buffer must hold the longest message.
    exchange.capacity = LpcLayout().maxMessage;
    exchange.entries = &block;
    status = connection->Exchange(packet, exchange, CDeadline::Never());
    // However it ended. If the server holds the slot still, it is free with its return.
    if (area.slot != kNoSlot) {
        connection->SendPool().Release(area.slot);
    }
    if (status != kStatusSuccess) {
        return status;
    }
    if (!LengthsFit(PortDialect::kLpc, reply, exchange.replyLength, exchange.capacity) ||
        exchange.view.slot != kNoSlot) {
        return connection->GiveUp();
    }
    MessageIds ids = ReadIds(PortDialect::kLpc, reply);
    ids.processId = connection->ServerProcessId();
    ids.threadId = exchange.serverThread;
    WriteIds(PortDialect::kLpc, reply, ids);
    StoreField(reply, kTypeOffset, kLpcReply);
    return kStatusSuccess;
}

}  // namespace Kyr::PortLayer
