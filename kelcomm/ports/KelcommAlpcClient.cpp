#include "kelcomm/ports/KelcommAlpcClient.h"

#include <cstring>
#include <exception>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "kelcomm/client/Buffer.h"
#include "kelcomm/client/KelcommNames.h"
#include "kelcomm/ports/AlpcMessages.h"
#include "kelcomm/ports/AlpcViews.h"
#include "kelcomm/ports/LocalSystem.h"
#include "ntapi/Status.h"

namespace Kyr::Connectors::Common::Kelcomm {

struct CKelcommAlpcClient::Parts {
    std::uint32_t flags;
    std::uint32_t command;
    const void* request;
    std::uint32_t requestLength;
    void* reply;  // the fixed buffer
    std::uint32_t replyCapacity;
    std::uint32_t* replyLength;
    CBuffer* growable;
    std::int64_t timeout;

    bool IsOneWay() const { return (flags & kKelcommOneWay) != 0; }
};

namespace {

/// The reply's bytes, wherever they came; null when they are not all there.
const std::uint8_t* FindReplyBytes(const std::uint8_t* message, const Alpc::ReplyHead& head,
                                   Alpc::CViewAttribute& attribute) {
    if (head.length <= Alpc::kMaxInlineReply) {
        return head.length <= head.inlineBytes ? message + Alpc::kReply : nullptr;
    }
    if (!attribute.HasView()) {
        return nullptr;
    }
    const NtApi::AlpcDataViewAttr& view = attribute.GetView();
    if ((view.Flags & NtApi::kAlpcViewSecured) == 0 || view.ViewSize < head.length) {
        return nullptr;
    }
    return static_cast<const std::uint8_t*>(view.ViewBase);
}

}  // namespace

CKelcommAlpcClient::CKelcommAlpcClient(const Native::CNativeFunctions& native)
    : CKelcommCommonNt(native), lock_(native) {}

CKelcommAlpcClient::~CKelcommAlpcClient() {
    CloseArea();
    if (port_) {
        // Requests may still be using it.
        std::terminate();
    }
}

std::uint32_t CKelcommAlpcClient::Initialize(std::uint32_t clientId, std::uint32_t serverId,
                                             std::uint32_t options) {
    if ((options & kKelcommPumpMessages) != 0) {
        return kKelcommInvalidArgument;
    }
    const std::lock_guard<CSlimLock> lock(lock_);
    if (clientId_ != 0 || serverId_ != 0) {
        return kKelcommCannotConnect;
    }
    clientId_ = clientId;
    serverId_ = serverId;
    options_ = options;
    return kKelcommSuccess;
}

std::uint32_t CKelcommAlpcClient::Uninitialize() {
    const std::shared_lock<CSlimLock> lock(lock_);
    clientId_ = 0;
    serverId_ = 0;
    options_ = 0;
    if (port_) {
        native_.NtAlpcDisconnectPort(port_.Get(), 0);
    }
    return kKelcommSuccess;
}

std::uint32_t CKelcommAlpcClient::Close() {
    CKelcommAlpcClient::Uninitialize();
    ClosePort();
    CloseArea();
    return kKelcommSuccess;
}

void CKelcommAlpcClient::ClosePort() {
    const std::lock_guard<CSlimLock> lock(lock_);
    port_.Reset();
}

std::uint32_t CKelcommAlpcClient::Connect() {
    const std::lock_guard<CSlimLock> lock(lock_);
    if (port_) {
        return kKelcommSuccess;
    }
    if (clientId_ == 0 || serverId_ == 0) {
        return kKelcommCannotConnect;
    }
    ObjectName nameText = AlpcPortName(clientId_, serverId_);
    NtApi::UnicodeString name{};
    native_.RtlInitUnicodeString(&name, nameText.data());
    NtApi::AlpcPortAttributes attributes = Alpc::PortAttributes(RunsAsLocalSystem(native_));
    std::uint8_t message[Alpc::kConnectionMessageSize];
    Alpc::BuildConnectionMessage(message);
    std::size_t messageSize = sizeof(message);

    NtApi::Handle opened = nullptr;
    const NtApi::NtStatus status =
        native_.NtAlpcConnectPort(&opened, &name, nullptr, &attributes, NtApi::kAlpcSynchronous,
                                  nullptr, message, &messageSize, nullptr, nullptr, nullptr);
    Native::CHandle port(native_, opened);
    if (NtApi::IsError(status)) {
        return kKelcommCannotConnect;
    }
    port_ = std::move(port);
    return kKelcommSuccess;
}

std::uint32_t CKelcommAlpcClient::RequestOnce(const Parts& parts) {
    std::shared_lock<CSlimLock> lock(lock_);
    if (!port_) {
        lock.unlock();
        Connect();
        lock.lock();
        if (!port_) {
            return kKelcommFailure;
        }
    }

    const bool oneWay = parts.IsOneWay();
    const std::uint32_t capacity = oneWay || parts.reply == nullptr ? 0 : parts.replyCapacity;
    // Both stay unwritten but for what is used: clearing 128 KiB would cost more than the exchange.
    alignas(8) std::uint8_t request[Alpc::kMaxMessage];
    alignas(8) std::uint8_t reply[Alpc::kMaxMessage];
    Alpc::BuildRequest(request, {parts.command, parts.request, parts.requestLength, capacity,
                                 !oneWay && parts.growable != nullptr});
    Alpc::CViewAttribute receiveView;
    if (!oneWay) {
        Alpc::ClearReply(reply);
        if (!receiveView.Allocate(native_)) {
            return kKelcommFailure;
        }
    }
    Alpc::CSendView sendView(native_, port_.Get());
    if (parts.requestLength > Alpc::kMaxInlinePayload &&
        !sendView.Fill(parts.request, parts.requestLength)) {
        return kKelcommFailure;
    }

    std::size_t bufferLength = Alpc::kMaxMessage;
    std::int64_t timeout = parts.timeout;
    const NtApi::NtStatus status = native_.NtAlpcSendWaitReceivePort(
        port_.Get(), oneWay ? NtApi::kAlpcReleaseMessage : NtApi::kAlpcSynchronous, request,
        sendView.GetAttributes(), oneWay ? nullptr : reply, &bufferLength,
        oneWay ? nullptr : receiveView.GetAttributes(), timeout != 0 ? &timeout : nullptr);
    if (NtApi::IsError(status)) {
        return kKelcommFailure;
    }
    if (status == NtApi::kStatusTimeout) {
        return kKelcommTimedOut;
    }
    if (status != NtApi::kStatusSuccess) {
        return kKelcommSuccess;  // deliberate: sent, and no reply to read
    }
    sendView.MarkSent();
    if (oneWay) {
        return kKelcommSuccess;
    }

    if (receiveView.HasView()) {
        // The view goes with the message when that is released.
        receiveView.GetView().Flags |= NtApi::kAlpcViewUnmapExisting;
    }
    const std::uint32_t result = TakeReply(parts, reply, receiveView);
    if ((Alpc::MessageType(reply) & NtApi::kLpcContinuationRequired) != 0) {
        native_.NtAlpcSendWaitReceivePort(port_.Get(), NtApi::kAlpcReleaseMessage, reply,
                                          receiveView.GetAttributes(), nullptr, nullptr, nullptr,
                                          nullptr);
    }
    return result;
}

std::uint32_t CKelcommAlpcClient::TakeReply(const Parts& parts, const std::uint8_t* message,
                                            Alpc::CViewAttribute& view) {
    Alpc::ReplyHead head{};
    if (!Alpc::ParseReply(message, head)) {
        return kKelcommFailure;
    }
    if (head.result != kKelcommSuccess) {
        return head.result;
    }
    const std::uint8_t* const bytes = FindReplyBytes(message, head, view);
    if (bytes == nullptr) {
        return kKelcommFailure;
    }
    if (parts.reply != nullptr && head.length <= parts.replyCapacity) {
        if (head.length != 0) {
            std::memcpy(parts.reply, bytes, head.length);
        }
        if (parts.replyLength != nullptr) {
            *parts.replyLength = head.length;
        }
        return kKelcommSuccess;
    }
    if (parts.growable != nullptr) {
        return parts.growable->AppendGrowing(bytes, head.length) ? kKelcommSuccess
                                                                 : kKelcommFailure;
    }
    return head.length == 0 ? kKelcommSuccess : kKelcommReplyTooLarge;
}

std::uint32_t CKelcommAlpcClient::RequestWithRepeat(const Parts& parts) {
    std::uint32_t result = RequestOnce(parts);
    if (result == kKelcommFailure) {
        ClosePort();
        result = RequestOnce(parts);
        if (result == kKelcommFailure) {
            // So that the next request begins with a new connection, not with a failure.
            ClosePort();
        }
    }
    return result;
}

std::uint32_t CKelcommAlpcClient::RequestToBuffer(std::uint32_t flags, std::uint32_t command,
                                                  const void* request, std::uint32_t requestLength,
                                                  CBuffer* reply, std::int64_t timeout) {
    return RequestWithRepeat(
        {flags, command, request, requestLength, nullptr, 0, nullptr, reply, timeout});
}

std::uint32_t CKelcommAlpcClient::Request(std::uint32_t flags, std::uint32_t command,
                                          const void* request, std::uint32_t requestLength,
                                          void* reply, std::uint32_t replyCapacity,
                                          std::uint32_t* replyLength, std::int64_t timeout) {
    return RequestWithRepeat({flags, command, request, requestLength, reply, replyCapacity,
                              replyLength, nullptr, timeout});
}

std::uint32_t CKelcommAlpcClient::ReadBroadcast(std::uint32_t offset, void* destination,
                                                std::uint32_t length) {
    return ReadArea({clientId_, serverId_}, offset, destination, length);
}

std::uint32_t CKelcommAlpcClient::ReadBroadcastValue(std::uint32_t offset, std::uint32_t* value) {
    return ReadAreaValue({clientId_, serverId_}, offset, value);
}

}  // namespace Kyr::Connectors::Common::Kelcomm
