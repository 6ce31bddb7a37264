#include "kelcomm/ports/KelcommAlpcClient.h"

#include <cstring>
#include <exception>
#include <utility>

#include "kelcomm/client/Buffer.h"
#include "kelcomm/client/KelcommNames.h"
#include "kelcomm/ports/AlpcMessages.h"
#include "kelcomm/ports/AlpcViews.h"
#include "kelcomm/ports/LocalSystem.h"
#include "ntapi/Status.h"

namespace Kyr::Connectors::Common::Kelcomm {

// One request, from the outside in: RequestWithRepeat tries it at most twice; RequestOnce finds a
// port, prepares the messages, exchanges them and takes the reply. The lock is held shared for the
// whole of RequestOnce, since the port, and the view that a reply may stand in, must not go away
// under it; it is free between the two tries, so that the port can be replaced.

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

struct CKelcommAlpcClient::Messages {
    const NtApi::Handle port;  // borrowed; the lock keeps it open
    // Unwritten but for what is used: clearing 128 KiB would cost more than the exchange.
    alignas(8) std::uint8_t request[Alpc::kMaxMessage];
    alignas(8) std::uint8_t reply[Alpc::kMaxMessage];
    Alpc::CViewAttribute replyView;
    Alpc::CSendView requestView;

    Messages(const Native::NativeFunctions& native, NtApi::Handle openPort)
        : port(openPort), requestView(native, openPort) {}
};

namespace {

/// The reply's bytes, wherever they came; null when they are not all there.
const std::uint8_t* FindReplyBytes(const std::uint8_t* message, const Alpc::ReplyHead& head,
                                   Alpc::CViewAttribute& attribute) {
    // The length alone tells where a reply is: a server has no choice between message and view.
    if (head.length <= Alpc::kMaxInlineReply) {
        return head.length <= head.inlineBytes ? message + Alpc::kReply : nullptr;
    }
    if (!attribute.HasView()) {
        return nullptr;
    }
    // Only of a secure section does the system promise that the sender can no longer write to it,
    // so that what is checked here is what will be copied.
    const NtApi::AlpcDataViewAttr& view = attribute.GetView();
    if ((view.Flags & NtApi::kAlpcViewSecured) == 0 || view.ViewSize < head.length) {
        return nullptr;
    }
    return static_cast<const std::uint8_t*>(view.ViewBase);
}

}  // namespace

CKelcommAlpcClient::CKelcommAlpcClient(const Native::NativeFunctions& native)
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
    const CExclusiveLock lock(lock_);
    // A port may be open that was found under the old names.
    if (clientId_ != 0 || serverId_ != 0) {
        return kKelcommCannotConnect;
    }
    clientId_ = clientId;
    serverId_ = serverId;
    options_ = options;
    return kKelcommSuccess;
}

std::uint32_t CKelcommAlpcClient::Uninitialize() {
    // Shared: a request that waits for its reply has the lock shared, too, and would be waited for
    // as long as the product likes. The ids go first: a request that the disconnection ends comes
    // back for its repeat, and must find no name to connect to.
    const CSharedLock lock(lock_);
    clientId_ = 0;
    serverId_ = 0;
    options_ = 0;
    if (port_) {
        native_.NtAlpcDisconnectPort(port_.Get(), 0);
    }
    return kKelcommSuccess;
}

std::uint32_t CKelcommAlpcClient::Close() {
    // Disconnecting ends the requests in flight, which is what closing the port waits for.
    CKelcommAlpcClient::Uninitialize();
    ClosePort();
    CloseArea();
    return kKelcommSuccess;
}

void CKelcommAlpcClient::ClosePort() {
    // Exclusive: no request is inside the system with this handle any more, whose number the system
    // may give to another object at once.
    const CExclusiveLock lock(lock_);
    port_.Reset();
}

std::uint32_t CKelcommAlpcClient::Connect() {
    const CExclusiveLock lock(lock_);
    // Of several requests that found no port, the first one connects for all.
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
    // Owned before the status is looked at: a failure may come with a handle.
    Native::CHandle port(native_, opened);
    if (NtApi::IsError(status)) {
        return kKelcommCannotConnect;
    }
    port_ = std::move(port);
    return kKelcommSuccess;
}

std::uint32_t CKelcommAlpcClient::RequestOnce(const Parts& parts) {
    CSharedLock lock(lock_);
    if (!port_) {
        // A slim lock cannot be raised from shared to exclusive. While it is free, anybody may
        // connect or drop the port: what counts is what is there afterwards, not Connect's result.
        lock.Unlock();
        Connect();
        lock.Lock();
        if (!port_) {
            return kKelcommFailure;
        }
    }
    // Made after the lock, and so destroyed before it is let go.
    Messages messages(native_, port_.Get());
    if (!Prepare(parts, messages)) {
        return kKelcommFailure;
    }
    const NtApi::NtStatus status = Exchange(parts, messages);
    if (NtApi::IsError(status)) {
        return kKelcommFailure;
    }
    // Positive, and so no error by its sign. The request has arrived, and the port is sound:
    // neither a repeat nor a new port would help.
    if (status == NtApi::kStatusTimeout) {
        return kKelcommTimedOut;
    }
    if (status != NtApi::kStatusSuccess) {
        return kKelcommSuccess;  // deliberate: sent, and no reply to read
    }
    messages.requestView.MarkSent();
    if (parts.IsOneWay()) {
        return kKelcommSuccess;
    }
    const std::uint32_t result = TakeReply(parts, messages);
    // Whatever the reply was worth, and only now: it takes away the bytes that TakeReply copies.
    Release(messages);
    return result;
}

bool CKelcommAlpcClient::Prepare(const Parts& parts, Messages& messages) const {
    // No room is announced for a reply that nobody waits for.
    const bool oneWay = parts.IsOneWay();
    const std::uint32_t capacity = oneWay || parts.reply == nullptr ? 0 : parts.replyCapacity;
    Alpc::BuildRequest(messages.request, {parts.command, parts.request, parts.requestLength,
                                          capacity, !oneWay && parts.growable != nullptr});
    if (!oneWay) {
        Alpc::ClearReply(messages.reply);
        // With every request: only the server knows whether its reply will need a view.
        if (!messages.replyView.Allocate(native_)) {
            return false;
        }
    }
    return parts.requestLength <= Alpc::kMaxInlinePayload ||
           messages.requestView.Fill(parts.request, parts.requestLength);
}

NtApi::NtStatus CKelcommAlpcClient::Exchange(const Parts& parts, Messages& messages) const {
    const bool oneWay = parts.IsOneWay();
    std::size_t bufferLength = Alpc::kMaxMessage;
    std::int64_t timeout = parts.timeout;
    return native_.NtAlpcSendWaitReceivePort(
        messages.port, oneWay ? NtApi::kAlpcReleaseMessage : NtApi::kAlpcSynchronous,
        messages.request, messages.requestView.GetAttributes(), oneWay ? nullptr : messages.reply,
        &bufferLength, oneWay ? nullptr : messages.replyView.GetAttributes(),
        timeout != 0 ? &timeout : nullptr);
}

void CKelcommAlpcClient::Release(Messages& messages) const {
    // Only a message that asks for it: the server then keeps its view until the message is back.
    if ((Alpc::MessageType(messages.reply) & NtApi::kLpcContinuationRequired) == 0) {
        return;
    }
    if (messages.replyView.HasView()) {
        // The view goes with the message.
        messages.replyView.GetView().Flags |= NtApi::kAlpcViewUnmapExisting;
    }
    native_.NtAlpcSendWaitReceivePort(messages.port, NtApi::kAlpcReleaseMessage, messages.reply,
                                      messages.replyView.GetAttributes(), nullptr, nullptr, nullptr,
                                      nullptr);
}

std::uint32_t CKelcommAlpcClient::TakeReply(const Parts& parts, Messages& messages) {
    Alpc::ReplyHead head{};
    if (!Alpc::ParseReply(messages.reply, head)) {
        return kKelcommFailure;
    }
    // A code of the server's own, passed on unchanged; bytes that come with it mean nothing.
    if (head.result != kKelcommSuccess) {
        return head.result;
    }
    const std::uint8_t* const bytes = FindReplyBytes(messages.reply, head, messages.replyView);
    if (bytes == nullptr) {
        return kKelcommFailure;
    }
    // "Too large" is a code of its own, since the caller can mend it with a larger buffer.
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
    // A port whose server is gone never recovers, and only the next exchange tells. The repeat lets
    // the request that notices reach a product that has been restarted since. Once only: that the
    // first exchange failed does not say that the product has not carried the command out.
    //
    // A server that answers 1 itself cannot be told from a failure and is asked again, too. The
    // port that is closed here may be one that another thread has just opened; that costs a
    // connection and no request, since closing waits for those in flight.
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
