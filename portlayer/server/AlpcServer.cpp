// The server's calls on advanced ports.
#include <cstring>

#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"
#include "portlayer/server/Answers.h"

namespace Kyr::PortLayer {

namespace Detail {

namespace {

using namespace NtApi;

NtStatus Send(CServerPort& port, const AlpcCall& call) {
    const MessageIds ids = ReadIds(PortDialect::kAlpc, call.sendMessage);
    const bool release = (call.flags & kAlpcReleaseMessage) != 0;
    const AlpcDataViewAttr* const view = SentView(call.sendAttributes);
    std::shared_ptr<CPortSection> section;
    std::shared_ptr<CServerConnection> owner;  // of the section
    // Called when the message is an open request, with the request's connection: the view's section
    // must be one of that connection. What it refuses leaves the request open.
    const auto fill = [&](OutgoingPacket& packet,
                          const std::shared_ptr<CServerConnection>& connection) {
        NtStatus status = CheckLengths(PortDialect::kAlpc, call.sendMessage, port.Limits().message);
        packet.SetMessage(call.sendMessage, TotalLength(call.sendMessage));
        if (status == kStatusSuccess && view != nullptr) {
            owner = connection;
            status = connection->Memory().AttachView(*view, packet, section);
        }
        // A view must be given back, and so the message that brings it; "released" holds for a
        // reply without one.
        packet.head.flags = release && view == nullptr ? 0 : kPacketContinuation;
        return status;
    };
    const NtStatus status = AnswerRequest(port, ids, fill);
    // No request that waits. It may be a datagram that came with a view: sent back with the flag,
    // it is released. Else there is nobody to send it to.
    if (status == kStatusReplyMessageMismatch) {
        return release ? port.ReleaseMessage(ids.messageId, UnmapsView(call.sendAttributes))
                       : kStatusInvalidMessage;
    }
    if (status == kStatusSuccess && section && (view->Flags & kAlpcViewAutoRelease) != 0) {
        owner->Memory().ViewSent(*section);
    }
    return status;
}

void Deliver(const AlpcCall& call, IncomingMessage& message) {
    *call.bufferLength = message.length;
    std::memcpy(call.receiveMessage, message.bytes, message.length);
    StoreField(call.receiveMessage, kTypeOffset, message.type);
    WriteIds(PortDialect::kAlpc, call.receiveMessage, message.ids);
    ClearValid(call.receiveAttributes);
    StoreContext(call.receiveAttributes, message.connection->Context(), message.ids.messageId);
    if (message.view.slot != kNoSlot && !StoreView(call.receiveAttributes, message.view)) {
        message.connection->ReceivePool().Free(message.view.slot);
        message.view = {};
    }
    // A request is released by its reply. A datagram with a view has none, and must be sent back.
    // Ids are this layer's own, so that no message of the same id waits already.
    const bool isDatagram = (message.type & kMessageKindMask) == kLpcDatagram;
    message.connection->Memory().AddReceived(
        message.ids.messageId, message.view,
        isDatagram && (message.type & kLpcContinuationRequired) != 0);
}

NtStatus Receive(CServerPort& port, const AlpcCall& call) {
    // Asked first, so that a short buffer costs no message: messages are no longer than this.
    if (*call.bufferLength < port.Limits().message) {
        *call.bufferLength = port.Limits().message;
        return kStatusBufferTooSmall;
    }
    return port.Receive(CDeadline::FromNative(call.timeout),
                        [&call](IncomingMessage& message) { Deliver(call, message); });
}

}  // namespace

NtStatus ServerSendWaitReceive(CServerPort& port, const AlpcCall& call) {
    // Servers answer; requests of theirs to clients do not exist here.
    if ((call.flags & kAlpcSynchronous) != 0 ||
        (call.receiveMessage != nullptr && call.bufferLength == nullptr)) {
        return kStatusInvalidParameter;
    }
    if (call.sendMessage != nullptr) {
        // Reply and next receive are one call. After a reply that failed nothing is received.
        const NtStatus status = Send(port, call);
        if (status != kStatusSuccess) {
            return status;
        }
    }
    return call.receiveMessage != nullptr ? Receive(port, call) : kStatusSuccess;
}

}  // namespace Detail

using namespace Detail;
using namespace NtApi;

NtStatus KYR_NTAPI NtAlpcCreatePort(Handle* port, ObjectAttributes* attributes,
                                    AlpcPortAttributes* portAttributes) {
    PortLimits limits;
    limits.message = kAlpcMaxMessage;
    if (portAttributes != nullptr) {
        limits.message = portAttributes->MaxMessageLength;
    }
    if (limits.message < AlpcLayout::kHeaderSize || limits.message > kAlpcMaxMessage) {
        return kStatusInvalidParameter;
    }
    return CServerPort::Create(PortDialect::kAlpc, attributes, limits, port);
}

NtStatus KYR_NTAPI NtAlpcAcceptConnectPort(Handle* port, Handle connectionPort, std::uint32_t,
                                           ObjectAttributes*, AlpcPortAttributes*,
                                           void* portContext, void* connectionRequest,
                                           AlpcMessageAttributes*, Bool accept) {
    if (port == nullptr || connectionRequest == nullptr ||
        CheckLengths(PortDialect::kAlpc, connectionRequest, kAlpcMaxMessage) != kStatusSuccess) {
        return kStatusInvalidParameter;
    }
    const auto server = Find<CServerPort>(connectionPort);
    if (!server || server->Dialect() != PortDialect::kAlpc) {
        return kStatusInvalidHandle;
    }
    return AnswerConnection(PortDialect::kAlpc, connectionRequest, accept != 0, portContext, *port);
}

}  // namespace Kyr::PortLayer
