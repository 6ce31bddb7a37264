// The client's calls on advanced ports.
//
// What one call of NtAlpcSendWaitReceivePort does goes by its flags. "Synchronous" (0x20000) waits
// for the reply, "release" (0x10000) gives the message up:
//   synchronous  release  receive buffer
//   yes          no       yes             a request; returns with its reply
//   no           yes      no              a datagram; of a type with 0x2000: gives a received
//                                         message back, and sends nothing
//   yes          no       no              C0000705
//   yes          yes      -               C00000F0
// All else is C000000D: requests whose reply another call receives do not exist here.
#include <algorithm>
#include <atomic>
#include <cstring>

#include "portlayer/ClientFunctions.h"
#include "portlayer/LayerSettings.h"
#include "portlayer/client/ClientConnection.h"

namespace Kyr::PortLayer {

namespace {

std::atomic<NtApi::NtStatus> serverGone{NtApi::kStatusPortDisconnected};

}  // namespace

void SetAlpcServerGoneStatus(NtApi::NtStatus status) {
    serverGone = status;
}

NtApi::NtStatus AlpcServerGoneStatus() {
    return serverGone;
}

namespace Detail {

namespace {

using namespace NtApi;

constexpr std::size_t kHeader = AlpcLayout::kHeaderSize;

NtStatus TakeReply(CClientConnection& connection, const AlpcCall& call, PendingExchange& exchange) {
    // The buffer may still tell of the view of an earlier reply.
    ClearValid(call.receiveAttributes);
    const bool fits = exchange.replyLength <= exchange.capacity;
    // A reply that does not fit is lost; the caller learns its length. One whose header contradicts
    // its length breaks the rules: the connection ends. A view goes back in both cases, as nobody
    // will see it.
    if (!fits || !LengthsFit(PortDialect::kAlpc, call.receiveMessage, exchange.replyLength,
                             exchange.replyLength)) {
        if (exchange.view.slot != kNoSlot) {
            connection.ReceivePool().Free(exchange.view.slot);
        }
        if (!fits) {
            *call.bufferLength = exchange.replyLength;
            return kStatusBufferTooSmall;
        }
        return connection.GiveUp();
    }
    // The caller made no room for a view. It gets the reply without.
    if (exchange.view.slot != kNoSlot && !StoreView(call.receiveAttributes, exchange.view)) {
        connection.ReceivePool().Free(exchange.view.slot);
        exchange.view = {};
    }
    const bool continuation = (exchange.replyFlags & kPacketContinuation) != 0;
    MessageIds ids = ReadIds(PortDialect::kAlpc, call.receiveMessage);
    // The server used the id of a message that the caller has not released yet.
    if (!connection.Memory().AddReceived(ids.messageId, exchange.view, continuation)) {
        ClearValid(call.receiveAttributes);
        return connection.GiveUp();
    }
    // Fields of the header that the system fills in, whatever the server wrote there.
    ids.processId = connection.ServerProcessId();
    ids.threadId = exchange.serverThread;
    WriteIds(PortDialect::kAlpc, call.receiveMessage, ids);
    const std::uint16_t type = kLpcReply | (continuation ? kLpcContinuationRequired : 0);
    StoreField(call.receiveMessage, kTypeOffset, type);
    *call.bufferLength = exchange.replyLength;
    return kStatusSuccess;
}

NtStatus Request(CClientConnection& connection, const AlpcCall& call, OutgoingPacket& packet) {
    const CDeadline deadline = CDeadline::FromNative(call.timeout);
    if (packet.head.kind == PacketKind::kDatagram) {
        return connection.Post(packet, deadline);
    }
    // The reply goes straight into the caller's buffer, on whichever thread it is read.
    PendingExchange exchange;
    exchange.reply = call.receiveMessage;
    exchange.capacity = *call.bufferLength;
    const NtStatus status = connection.Exchange(packet, exchange, deadline);
    return status == kStatusSuccess ? TakeReply(connection, call, exchange) : status;
}

}  // namespace

NtStatus ClientSendWaitReceive(CClientConnection& connection, const AlpcCall& call) {
    const bool release = (call.flags & kAlpcReleaseMessage) != 0;
    const bool synchronous = (call.flags & kAlpcSynchronous) != 0;
    if (release && synchronous) {
        return kStatusInvalidParameter2;
    }
    if (synchronous && (call.receiveMessage == nullptr || call.bufferLength == nullptr)) {
        return kStatusLpcReceiveBufferExpected;
    }
    // What is left over: neither flag, both ends of a release, or no message.
    if ((!release && !synchronous) || call.sendMessage == nullptr ||
        (release && call.receiveMessage != nullptr)) {
        return kStatusInvalidParameter;
    }
    // The port itself set this flag in a message that it delivered. So this is that message, sent
    // back to be released, and no new one. Nothing goes out: the server learns of freed memory with
    // the next packet.
    if (release && (MessageType(call.sendMessage) & kLpcContinuationRequired) != 0) {
        // A view that the caller marks goes with its message. Unmarked, it stays until it is
        // deleted.
        return connection.Memory().ReleaseMessage(
            ReadIds(PortDialect::kAlpc, call.sendMessage).messageId,
            UnmapsView(call.sendAttributes));
    }
    NtStatus status = CheckLengths(PortDialect::kAlpc, call.sendMessage, connection.Limit());
    if (status != kStatusSuccess) {
        return status;
    }
    OutgoingPacket packet(synchronous ? PacketKind::kRequest : PacketKind::kDatagram);
    packet.SetMessage(call.sendMessage, TotalLength(call.sendMessage));
    // Kept until the call is over: another thread may delete the section meanwhile.
    std::shared_ptr<CPortSection> section;
    const AlpcDataViewAttr* const view = SentView(call.sendAttributes);
    const bool autoRelease = view != nullptr && (view->Flags & kAlpcViewAutoRelease) != 0;
    if (view != nullptr) {
        status = connection.Memory().AttachView(*view, packet, section);
        if (status != kStatusSuccess) {
            return status;
        }
    }
    status = Request(connection, call, packet);
    // The flag lets the view end with its message, so that the caller need not delete it. On a dead
    // port the view stays the caller's, whether the message got out or not.
    if (autoRelease && status != kStatusPortDisconnected) {
        connection.Memory().ViewSent(*section);
    }
    return status;
}

}  // namespace Detail

using namespace Detail;
using namespace NtApi;

NtStatus KYR_NTAPI NtAlpcConnectPort(Handle* port, UnicodeString* name, ObjectAttributes*,
                                     AlpcPortAttributes* portAttributes, std::uint32_t flags,
                                     void* requiredServerSid, void* connectionMessage,
                                     std::size_t* bufferLength, AlpcMessageAttributes*,
                                     AlpcMessageAttributes*, std::int64_t* timeout) {
    // A client that waits is the only kind that there is here, and there are no SIDs.
    if (port == nullptr || name == nullptr || flags != kAlpcSynchronous ||
        requiredServerSid != nullptr) {
        return kStatusInvalidParameter;
    }
    std::size_t limit = kAlpcMaxMessage;
    if (portAttributes != nullptr) {
        limit = std::min(limit, portAttributes->MaxMessageLength);
    }
    // No data, and a total length of the header alone: what a client without a message sends.
    std::uint8_t empty[kHeader] = {kHeader & 0, 0, kHeader, 0};
    auto* const message =
        connectionMessage != nullptr ? static_cast<std::uint8_t*>(connectionMessage) : empty;
    NtStatus status = CheckLengths(PortDialect::kAlpc, message, limit);
    const CDeadline deadline = CDeadline::FromNative(timeout);
    std::shared_ptr<CClientConnection> connection;
    std::vector<std::uint8_t> answer;
    if (status == kStatusSuccess) {
        status = CClientConnection::Connect(*name, PortDialect::kAlpc, limit, message, deadline,
                                            connection, answer);
    }
    if (status != kStatusSuccess) {
        return status;
    }
    if (connectionMessage != nullptr && answer.size() >= kHeader) {
        // Without a length the buffer is known to hold what was sent.
        const std::size_t room = bufferLength != nullptr ? *bufferLength : TotalLength(message);
        if (answer.size() > room) {
            return kStatusBufferTooSmall;
        }
        std::memcpy(message, answer.data(), answer.size());
        StoreField(message, kTypeOffset, kLpcConnectionReply);
        if (bufferLength != nullptr) {
            *bufferLength = answer.size();
        }
    }
    *port = AddHandle(std::move(connection));
    return *port != nullptr ? kStatusSuccess : kStatusNoMemory;
}

}  // namespace Kyr::PortLayer
