// The server's calls on legacy ports.
#include <cstring>

#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"
#include "portlayer/packets/RequestData.h"
#include "portlayer/server/Answers.h"
#include "portlayer/server/ServerPort.h"

namespace Kyr::PortLayer {

namespace {

using namespace Detail;
using namespace NtApi;

std::shared_ptr<CServerPort> LpcPort(Handle handle) {
    return ServerPortOf(FindObject(handle), PortDialect::kLpc);
}

NtStatus Reply(const CServerPort& port, const void* reply) {
    const NtStatus status = CheckLengths(PortDialect::kLpc, reply, port.Limits().message);
    if (status != kStatusSuccess) {
        return status;
    }
    // Data blocks belong to requests: nobody waits for a reply to be read.
    if (DataInfoOffset(reply) != 0) {
        return kStatusInvalidParameter;
    }
    return AnswerRequest(port, ReadIds(PortDialect::kLpc, reply),
                         [reply](OutgoingPacket& packet, const auto&) {
                             packet.SetMessage(reply, TotalLength(reply));
                             return kStatusSuccess;
                         });
}

NtStatus Receive(CServerPort& port, void** context, void* receive, const CDeadline& deadline) {
    return port.Receive(deadline, [context, receive](const IncomingMessage& message) {
        // The call has no length for the buffer. Messages are no longer than the port's limit
        // (ServerPort.cpp), which the server chose.
        std::memcpy(receive, message.bytes, message.length);
        StoreField(receive, kTypeOffset, message.type);
        WriteIds(PortDialect::kLpc, receive, message.ids);
        if (context != nullptr) {
            *context = message.connection->Context();
        }
    });
}

/// Calls `move(record)` with the mutex of the request's record held, when the request is open and
/// so many bytes of its entry may be moved. Tells how many were: all or none.
template <typename Move>
NtStatus TransferData(Handle handle, const void* message, std::uint32_t entryIndex,
                      std::size_t size, std::size_t* transferred, Move move) {
    const auto port = LpcPort(handle);
    if (!port) {
        return kStatusInvalidHandle;
    }
    const MessageIds ids = ReadIds(PortDialect::kLpc, message);
    NtStatus status = kStatusReplyMessageMismatch;
    if (const auto record = FindPendingMessage(ids.messageId)) {
        const std::lock_guard<std::mutex> lock(record->mutex);
        const DataBlock& block = record->entries;
        if (IsOpenRequest(*record, *port, ids)) {
            const bool fits = entryIndex < block.count && size <= block.entries[entryIndex].size;
            status = fits ? kStatusSuccess : kStatusInvalidParameter;
        }
        if (status == kStatusSuccess && size != 0) {
            status = move(*record);
        }
    }
    if (transferred != nullptr) {
        *transferred = status == kStatusSuccess ? size : 0;
    }
    return status;
}

}  // namespace

NtStatus KYR_NTAPI NtCreatePort(Handle* port, ObjectAttributes* attributes,
                                std::uint32_t maxConnectionInfo, std::uint32_t maxMessageLength,
                                std::uint32_t) {
    if (maxConnectionInfo > LpcLayout().maxMessage - LpcLayout().headerSize) {
        return kStatusInvalidParameter3;
    }
    if (maxMessageLength > LpcLayout().maxMessage || maxMessageLength < LpcLayout().headerSize) {
        return kStatusInvalidParameter4;
    }
    return CServerPort::Create(PortDialect::kLpc, attributes, {maxMessageLength, maxConnectionInfo},
                               port);
}

NtStatus KYR_NTAPI NtReplyWaitReceivePortEx(Handle handle, void** context, void* reply,
                                            void* receive, std::int64_t* timeout) {
    const auto port = LpcPort(handle);
    if (!port) {
        return kStatusInvalidHandle;
    }
    if (reply != nullptr) {
        const NtStatus status = Reply(*port, reply);
        if (status != kStatusSuccess) {
            return status;
        }
    }
    return Receive(*port, context, receive, CDeadline::FromNative(timeout));
}

NtStatus KYR_NTAPI NtAcceptConnectPort(Handle* handle, void* context, void* connectionRequest,
                                       Bool accept, void* serverView, void* clientView) {
    if (handle == nullptr || serverView != nullptr || clientView != nullptr ||
        CheckLengths(PortDialect::kLpc, connectionRequest, LpcLayout().maxMessage) !=
            kStatusSuccess) {
        return kStatusInvalidParameter;
    }
    return AnswerConnection(PortDialect::kLpc, connectionRequest, accept != 0, context, *handle);
}

NtStatus KYR_NTAPI NtCompleteConnectPort(Handle handle) {
    const auto connection = Find<CServerConnection>(handle);
    return connection ? CompleteConnection(*connection) : kStatusInvalidHandle;
}

NtStatus KYR_NTAPI NtReplyPort(Handle handle, void* reply) {
    const auto port = LpcPort(handle);
    return port ? Reply(*port, reply) : kStatusInvalidHandle;
}

NtStatus KYR_NTAPI NtReadRequestData(Handle handle, void* message, std::uint32_t entryIndex,
                                     void* buffer, std::size_t size, std::size_t* transferred) {
    return TransferData(
        handle, message, entryIndex, size, transferred,
        [&](PendingMessage& record) { return ReadEntry(record, entryIndex, buffer, size); });
}

NtStatus KYR_NTAPI NtWriteRequestData(Handle handle, void* message, std::uint32_t entryIndex,
                                      void* buffer, std::size_t size, std::size_t* transferred) {
    return TransferData(
        handle, message, entryIndex, size, transferred,
        [&](PendingMessage& record) { return WriteEntry(record, entryIndex, buffer, size); });
}

}  // namespace Kyr::PortLayer
