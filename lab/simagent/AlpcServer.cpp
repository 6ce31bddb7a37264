#include "lab/simagent/AlpcServer.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::Lab::SimAgent {

namespace {

using NtApi::AlpcContextAttr;
using NtApi::AlpcDataViewAttr;
using NtApi::AlpcMessageAttributes;

/// What a client sends when it connects: the protocol's name and version, and the longest reply
/// that it takes inside a message.
const Bytes kConnectionInfo{'K', 'e', 'l', 'C', 'o', 'm', 'm', ' ', 2, 0, 0, 0, 0xCF, 0xFF, 0, 0};

/// An attribute buffer, aligned for every body.
class CAttributes {
  public:
    explicit CAttributes(std::uint32_t attributes) {
        std::size_t size = 0;
        PortLayer::AlpcInitializeMessageAttribute(attributes, nullptr, 0, &size);
        storage_.resize((size + sizeof(std::uint64_t) - 1) / sizeof(std::uint64_t));
        PortLayer::AlpcInitializeMessageAttribute(attributes, Get(), size, &size);
    }

    AlpcMessageAttributes* Get() {
        return reinterpret_cast<AlpcMessageAttributes*>(storage_.data());
    }

    /// The body of an attribute, or null when it did not come with the message.
    template <typename Body>
    Body* Find(std::uint32_t attribute) {
        return (Get()->ValidAttributes & attribute) == 0 ? nullptr : FindBody<Body>(attribute);
    }

    AlpcDataViewAttr& MakeView() {
        Get()->ValidAttributes |= NtApi::kAlpcMessageViewAttribute;
        return *FindBody<AlpcDataViewAttr>(NtApi::kAlpcMessageViewAttribute);
    }

  private:
    template <typename Body>
    Body* FindBody(std::uint32_t attribute) {
        return static_cast<Body*>(PortLayer::AlpcGetMessageAttribute(Get(), attribute));
    }

    std::vector<std::uint64_t> storage_;
};

NtApi::AlpcPortAttributes PortAttributes() {
    NtApi::AlpcPortAttributes attributes{};
    attributes.SecurityQos = {sizeof attributes.SecurityQos,
                              NtApi::kSecurityIdentification,
                              NtApi::kSecurityDynamicTracking,
                              0,
                              {}};
    attributes.MaxMessageLength = kAlpcMaxMessage;
    attributes.MaxPoolUsage = 0xFFFFFFFF;
    attributes.MaxSectionSize = 0xFFFFFFFF;
    attributes.MaxViewSize = 0xFFFFFFFF;
    attributes.MaxTotalSectionSize = 0xFFFFFFFF;
    return attributes;
}

}  // namespace

CAlpcServer::CAlpcServer(CAgent& agent, LineSink sink) : agent_(agent), sink_(std::move(sink)) {}

CAlpcServer::~CAlpcServer() {
    Close();
}

void CAlpcServer::Open() {
    NtApi::UnicodeString name;
    PortLayer::RtlInitUnicodeString(&name, kAlpcPortName);
    NtApi::ObjectAttributes object{sizeof object, nullptr, &name, 0, nullptr, nullptr};
    NtApi::AlpcPortAttributes attributes = PortAttributes();
    const NtApi::NtStatus status = PortLayer::NtAlpcCreatePort(&port_, &object, &attributes);
    if (NtApi::IsError(status)) {
        port_ = nullptr;
        throw std::runtime_error("cannot create the advanced port: " + StatusText(status));
    }
    closing_ = false;
    thread_ = boost::thread([this] { Serve(); });
}

void CAlpcServer::Close() {
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

void CAlpcServer::Serve() {
    CReceived received;
    while (Receive(received)) {
        try {
            Handle(received);
        } catch (const std::exception& problem) {
            sink_(CLine("error").With("transport", "alpc").With("text", problem.what()));
        }
        Release(received);
    }
}

bool CAlpcServer::Receive(CReceived& received) {
    CAttributes attributes(NtApi::kAlpcMessageViewAttribute | NtApi::kAlpcMessageContextAttribute);
    NtApi::NtStatus status = NtApi::kStatusTimeout;
    while (status == NtApi::kStatusTimeout) {
        if (closing_) {
            return false;
        }
        received.message.assign(kAlpcMaxMessage, 0);
        std::size_t size = received.message.size();
        std::int64_t timeout = kServeTimeout;
        attributes.Get()->ValidAttributes = 0;
        status = PortLayer::NtAlpcSendWaitReceivePort(
            port_, 0, nullptr, nullptr, received.message.data(), &size, attributes.Get(), &timeout);
    }
    if (NtApi::IsError(status)) {
        ReportFailure("receive", status);
        return false;
    }
    const auto* const context =
        attributes.Find<AlpcContextAttr>(NtApi::kAlpcMessageContextAttribute);
    const auto* const view = attributes.Find<AlpcDataViewAttr>(NtApi::kAlpcMessageViewAttribute);
    received.client = context == nullptr ? 0 : reinterpret_cast<ClientId>(context->PortContext);
    received.view = view == nullptr ? std::nullopt : std::optional(*view);
    return true;
}

void CAlpcServer::Handle(CReceived& received) {
    switch (ReadU16(received.message, NtApi::kTypeOffset) & NtApi::kMessageKindMask) {
        case NtApi::kLpcConnectionRequest:
            Connect(received);
            break;
        case NtApi::kLpcRequest:
            HandleRequest(received, true);
            break;
        case NtApi::kLpcDatagram:
            HandleRequest(received, false);
            break;
        case NtApi::kLpcPortClosed:
        case NtApi::kLpcClientDied:
            Disconnect(received.client, "client");
            break;
        default:
            break;
    }
}

void CAlpcServer::Connect(CReceived& received) {
    const bool known =
        ReadU16(received.message, NtApi::kDataLengthOffset) == kConnectionInfo.size() &&
        ReadBytes(received.message, kAlpcHeaderSize, kConnectionInfo.size()) == kConnectionInfo;
    const ClientId client = ++lastClient_;
    NtApi::Handle port = nullptr;
    NtApi::AlpcPortAttributes attributes = PortAttributes();
    const NtApi::NtStatus status = PortLayer::NtAlpcAcceptConnectPort(
        &port, port_, 0, nullptr, &attributes, reinterpret_cast<void*>(client),
        received.message.data(), nullptr, known ? 1 : 0);
    if (!known) {
        sink_(CLine("error").With("transport", "alpc").With("text", "a stranger was refused"));
        return;
    }
    if (NtApi::IsError(status)) {
        ReportFailure("accept", status);
        return;
    }
    clients_[client] = port;
    sink_(CLine("connect")
              .With("transport", "alpc")
              .With("client", client)
              .With("pid", ReadU32(received.message, 8)));
}

void CAlpcServer::Disconnect(ClientId client, const char* by) {
    const auto found = clients_.find(client);
    if (found == clients_.end()) {
        return;
    }
    PortLayer::NtAlpcDisconnectPort(found->second, 0);
    PortLayer::NtClose(found->second);
    clients_.erase(found);
    sink_(CLine("disconnect").With("transport", "alpc").With("client", client).With("by", by));
}

void CAlpcServer::HandleRequest(CReceived& received, bool wantsReply) {
    CAnswer answer;
    try {
        CPortRequest request = ReadRequest(received);
        request.wantsReply = wantsReply;
        answer = agent_.Answer(request);
    } catch (const CMalformed& problem) {
        sink_(CLine("error").With("transport", "alpc").With("text", problem.what()));
        answer.code = kCodeMalformed;
    }
    switch (answer.delivery) {
        case CAnswer::Delivery::Drop:
            Disconnect(received.client, "agent");
            break;
        case CAnswer::Delivery::Hang:
            break;
        case CAnswer::Delivery::Reply:
            if (wantsReply) {
                Reply(received, answer);
            }
    }
}

void CAlpcServer::Release(CReceived& received) {
    const auto client = clients_.find(received.client);
    if (client == clients_.end()) {
        return;  // everything that came from it went with its port
    }
    if (received.view) {
        PortLayer::NtAlpcDeleteSectionView(client->second, 0, received.view->ViewBase);
    }
    const std::uint16_t type = ReadU16(received.message, NtApi::kTypeOffset);
    const bool isDatagram = (type & NtApi::kMessageKindMask) == NtApi::kLpcDatagram;
    if (isDatagram && (type & NtApi::kLpcContinuationRequired) != 0) {
        PortLayer::NtAlpcSendWaitReceivePort(client->second, NtApi::kAlpcReleaseMessage,
                                             received.message.data(), nullptr, nullptr, nullptr,
                                             nullptr, nullptr);
    }
}

CPortRequest CAlpcServer::ReadRequest(const CReceived& received) const {
    const CAlpcRequest decoded = DecodeAlpcRequest(received.message);
    CPortRequest request;
    request.transport = Transport::Alpc;
    request.command = decoded.command;
    request.replyCapacity = decoded.replyCapacity;
    request.payload = decoded.payload;
    if (!decoded.payloadInView) {
        return request;
    }
    if (!received.view || received.view->ViewSize < decoded.requestLength) {
        throw CMalformed("the request's view is missing or too small");
    }
    if (decoded.requestLength > kMaxRequest) {
        throw CMalformed("the request is too long");
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(received.view->ViewBase);
    request.payload.assign(bytes, bytes + decoded.requestLength);
    return request;
}

void CAlpcServer::Reply(const CReceived& received, const CAnswer& answer) const {
    const NtApi::Handle port = clients_.at(received.client);
    if (answer.bytes.size() > kAlpcMaxInlineReply && !answer.withoutView) {
        SendInView(port, received, answer);
        return;
    }
    Bytes inlineReply = answer.bytes;
    if (answer.withoutView) {
        inlineReply.clear();
    }
    Bytes reply =
        EncodeAlpcReply(received.message, answer.code, answer.AnnouncedLength(), inlineReply);
    const NtApi::NtStatus status =
        PortLayer::NtAlpcSendWaitReceivePort(port, NtApi::kAlpcReleaseMessage, reply.data(),
                                             nullptr, nullptr, nullptr, nullptr, nullptr);
    if (NtApi::IsError(status)) {
        ReportFailure("reply", status);
    }
}

void CAlpcServer::SendInView(NtApi::Handle port, const CReceived& received,
                             const CAnswer& answer) const {
    const std::size_t size = answer.bytes.size() - (answer.smallView ? 1 : 0);
    CAttributes attributes(NtApi::kAlpcMessageViewAttribute);
    AlpcDataViewAttr& view = attributes.MakeView();
    view = {0, nullptr, nullptr, size};
    NtApi::NtStatus status = PortLayer::NtAlpcCreatePortSection(
        port, NtApi::kAlpcPortSectionSecure, nullptr, size, &view.SectionHandle, nullptr);
    if (!NtApi::IsError(status)) {
        status = PortLayer::NtAlpcCreateSectionView(port, 0, &view);
    }
    if (!NtApi::IsError(status)) {
        std::memcpy(view.ViewBase, answer.bytes.data(), size);
        view.Flags = NtApi::kAlpcViewAutoRelease | NtApi::kAlpcViewSecured;
        Bytes reply = EncodeAlpcReply(received.message, answer.code, answer.AnnouncedLength(), {});
        // Not released: the client still has to read the view, and releases the reply after that.
        status = PortLayer::NtAlpcSendWaitReceivePort(port, 0, reply.data(), attributes.Get(),
                                                      nullptr, nullptr, nullptr, nullptr);
    }
    if (NtApi::IsError(status)) {
        ReportFailure("reply", status);
        if (view.ViewBase != nullptr) {
            PortLayer::NtAlpcDeleteSectionView(port, 0, view.ViewBase);
        }
    }
    if (view.SectionHandle != nullptr) {
        PortLayer::NtAlpcDeletePortSection(port, 0, view.SectionHandle);
    }
}

void CAlpcServer::ReportFailure(const char* operation, NtApi::NtStatus status) const {
    sink_(CLine("error")
              .With("transport", "alpc")
              .With("operation", operation)
              .With("status", StatusText(status)));
}

}  // namespace Kyr::Lab::SimAgent
