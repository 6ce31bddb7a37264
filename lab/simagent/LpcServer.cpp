#include "lab/simagent/LpcServer.h"

#include <algorithm>
#include <stdexcept>

#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::Lab::SimAgent {

namespace {

/// What a client sends when it connects: the protocol's name and version.
const Bytes kConnectionInfo{'K', 'e', 'l', 'C', 'o', 'm', 'm', ' ', 2, 0, 0, 0};

/// The structures that clients on this computer use on legacy ports.
CLpcLayout SystemLayout() {
    NtApi::Bool isWow64 = 0;
    const bool known = PortLayer::IsWow64Process(PortLayer::GetCurrentProcess(), &isWow64) != 0;
    return known && isWow64 != 0 ? kLpcLayout64 : kLpcLayout32;
}

constexpr std::uint32_t LongestMessage(const CLpcLayout& layout) {
    return static_cast<std::uint32_t>(layout.headerSize + 8 + layout.maxInlineReply);
}

}  // namespace

CLpcServer::CLpcServer(CAgent& agent, LineSink sink)
    : agent_(agent), sink_(std::move(sink)), layout_(SystemLayout()) {}

CLpcServer::~CLpcServer() {
    Close();
}

void CLpcServer::Open() {
    NtApi::UnicodeString name;
    PortLayer::RtlInitUnicodeString(&name, kLpcPortName);
    NtApi::ObjectAttributes attributes{sizeof attributes, nullptr, &name, 0, nullptr, nullptr};
    const NtApi::NtStatus status = PortLayer::NtCreatePort(
        &port_, &attributes, static_cast<std::uint32_t>(kConnectionInfo.size()),
        LongestMessage(layout_), 0);
    if (NtApi::IsError(status)) {
        port_ = nullptr;
        throw std::runtime_error("cannot create the legacy port: " + StatusText(status));
    }
    closing_ = false;
    thread_ = boost::thread([this] { Serve(); });
}

void CLpcServer::Close() {
    if (port_ == nullptr) {
        return;
    }
    closing_ = true;
    thread_.join();
    while (!clients_.empty()) {
        Disconnect(clients_.begin()->first, "agent");
    }
    PortLayer::NtClose(port_);
    port_ = nullptr;
}

void CLpcServer::Serve() {
    Bytes message;
    while (!closing_) {
        message.assign(LongestMessage(layout_), 0);
        void* context = nullptr;
        std::int64_t timeout = kServeTimeout;
        const NtApi::NtStatus status =
            PortLayer::NtReplyWaitReceivePortEx(port_, &context, nullptr, message.data(), &timeout);
        if (status == NtApi::kStatusTimeout) {
            continue;
        }
        if (NtApi::IsError(status)) {
            ReportFailure("receive", status);
            return;
        }
        try {
            Handle(reinterpret_cast<ClientId>(context), message);
        } catch (const std::exception& problem) {
            sink_(CLine("error").With("transport", "lpc").With("text", problem.what()));
        }
    }
}

void CLpcServer::Handle(ClientId client, Bytes& message) {
    switch (ReadU16(message, NtApi::kTypeOffset) & NtApi::kMessageKindMask) {
        case NtApi::kLpcConnectionRequest:
            Connect(message);
            break;
        case NtApi::kLpcRequest:
            HandleRequest(client, message, true);
            break;
        case NtApi::kLpcDatagram:
            HandleRequest(client, message, false);
            break;
        case NtApi::kLpcPortClosed:
        case NtApi::kLpcClientDied:
            Disconnect(client, "client");
            break;
        default:
            break;
    }
}

void CLpcServer::Connect(Bytes& message) {
    const bool known =
        ReadU16(message, NtApi::kDataLengthOffset) == kConnectionInfo.size() &&
        ReadBytes(message, layout_.headerSize, kConnectionInfo.size()) == kConnectionInfo;
    const ClientId client = ++lastClient_;
    NtApi::Handle port = nullptr;
    NtApi::NtStatus status = PortLayer::NtAcceptConnectPort(
        &port, reinterpret_cast<void*>(client), message.data(), known ? 1 : 0, nullptr, nullptr);
    if (!known) {
        sink_(CLine("error").With("transport", "lpc").With("text", "a stranger was refused"));
        return;
    }
    if (!NtApi::IsError(status)) {
        clients_[client] = port;
        status = PortLayer::NtCompleteConnectPort(port);
    }
    if (NtApi::IsError(status)) {
        ReportFailure("accept", status);
        return;
    }
    sink_(CLine("connect")
              .With("transport", "lpc")
              .With("client", client)
              .With("pid", ReadU32(message, 8)));
}

void CLpcServer::Disconnect(ClientId client, const char* by) {
    const auto found = clients_.find(client);
    if (found == clients_.end()) {
        return;
    }
    PortLayer::NtClose(found->second);
    clients_.erase(found);
    sink_(CLine("disconnect").With("transport", "lpc").With("client", client).With("by", by));
}

void CLpcServer::HandleRequest(ClientId client, Bytes& message, bool wantsReply) {
    CLpcRequest decoded;
    CPortRequest request;
    CAnswer answer;
    try {
        decoded = DecodeLpcRequest(layout_, message);
        request = ReadRequest(client, message, decoded);
        request.wantsReply = wantsReply;
        answer = agent_.Answer(request);
    } catch (const CMalformed& problem) {
        sink_(CLine("error").With("transport", "lpc").With("text", problem.what()));
        answer.code = kCodeMalformed;
    }
    switch (answer.delivery) {
        case CAnswer::Delivery::Drop:
            Disconnect(client, "agent");
            break;
        case CAnswer::Delivery::Hang:
            break;
        case CAnswer::Delivery::Reply:
            if (wantsReply) {
                Reply(client, message, decoded, answer);
            }
    }
}

CPortRequest CLpcServer::ReadRequest(ClientId client, Bytes& message,
                                     const CLpcRequest& decoded) const {
    CPortRequest request;
    request.transport = Transport::Lpc;
    request.command = decoded.command;
    request.replyCapacity = decoded.replyCapacity;
    request.payload = decoded.payload;
    if (decoded.requestEntryLength == 0) {
        return request;
    }
    if (decoded.requestEntryLength > kMaxRequest) {
        throw CMalformed("the request is too long");
    }
    request.payload.resize(decoded.requestEntryLength);
    std::size_t done = 0;
    const NtApi::NtStatus status =
        PortLayer::NtReadRequestData(clients_.at(client), message.data(), 0, request.payload.data(),
                                     request.payload.size(), &done);
    if (NtApi::IsError(status) || done != request.payload.size()) {
        throw CMalformed("the request buffer cannot be read: " + StatusText(status));
    }
    return request;
}

void CLpcServer::Reply(ClientId client, Bytes& message, const CLpcRequest& decoded,
                       const CAnswer& answer) const {
    Bytes inlineReply = answer.bytes;
    if (inlineReply.size() > layout_.maxInlineReply) {
        if (decoded.isLarge) {
            // Into the client's own buffer, before it wakes; a reply that is too long on purpose
            // fills the buffer and no more.
            const std::size_t size =
                std::min<std::size_t>(inlineReply.size(), decoded.replyEntryLength);
            const NtApi::NtStatus status = PortLayer::NtWriteRequestData(
                clients_.at(client), message.data(), 1, inlineReply.data(), size, nullptr);
            if (NtApi::IsError(status)) {
                ReportFailure("write", status);
            }
        }
        inlineReply.resize(decoded.isLarge ? 0 : layout_.maxInlineReply);
    }
    Bytes reply =
        EncodeLpcReply(layout_, message, answer.code, answer.AnnouncedLength(), inlineReply);
    const NtApi::NtStatus status = PortLayer::NtReplyPort(clients_.at(client), reply.data());
    if (NtApi::IsError(status)) {
        ReportFailure("reply", status);
    }
}

void CLpcServer::ReportFailure(const char* operation, NtApi::NtStatus status) const {
    sink_(CLine("error")
              .With("transport", "lpc")
              .With("operation", operation)
              .With("status", StatusText(status)));
}

}  // namespace Kyr::Lab::SimAgent
