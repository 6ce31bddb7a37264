#include "lab/simproduct/ports/PortServer.h"

#include <stdexcept>

#include "lab/simproduct/requests/StatusText.h"
#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/Diagnostics.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::Lab::SimProduct {

CPortServer::CPortServer(RequestHandler handler, LineSink sink, PortKind kind)
    : handler_(std::move(handler)), sink_(std::move(sink)), kind_(std::move(kind)) {}

void CPortServer::Open() {
    NtApi::UnicodeString name;
    PortLayer::RtlInitUnicodeString(&name, kind_.portName);
    NtApi::ObjectAttributes object{sizeof object, nullptr, &name, 0, nullptr, nullptr};
    const NtApi::NtStatus status = CreatePort(&port_, object);
    if (NtApi::IsError(status)) {
        port_ = nullptr;
        throw std::runtime_error(std::string("cannot create the ") + kind_.name +
                                 " port: " + StatusText(status) + ": " + PortLayer::LastFailure());
    }
    closing_ = false;
    thread_ = boost::thread([this] { Serve(); });
}

void CPortServer::Close() {
    if (port_ == nullptr) {
        return;
    }
    closing_ = true;
    thread_.join();
    while (!clients_.empty()) {
        Disconnect(clients_.begin()->first, "product");
    }
    PortLayer::NtClose(port_);
    port_ = nullptr;
}

NtApi::Handle CPortServer::PortOf(ClientId client) const {
    const auto found = clients_.find(client);
    return found == clients_.end() ? nullptr : found->second;
}

void CPortServer::Serve() {
    ReceivedRequest received;
    while (Next(received)) {
        try {
            Handle(received);
        } catch (const std::exception& problem) {
            sink_(Line("error").With("text", problem.what()));
        }
        Release(received);
    }
}

bool CPortServer::Next(ReceivedRequest& received) {
    while (!closing_) {
        const NtApi::NtStatus status = Receive(received);
        if (status == NtApi::kStatusTimeout) {
            continue;
        }
        ReportFailure("receive", status);
        return !NtApi::IsError(status);
    }
    return false;
}

void CPortServer::Handle(ReceivedRequest& received) {
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

void CPortServer::Connect(ReceivedRequest& received) {
    const Bytes& info = kind_.connectionInfo;
    const bool known = ReadU16(received.message, NtApi::kDataLengthOffset) == info.size() &&
                       ReadBytes(received.message, kind_.headerSize, info.size()) == info;
    const ClientId client = ++lastClient_;
    TellNative(received, client, "connect");
    NtApi::Handle port = nullptr;
    const NtApi::NtStatus status = Accept(received, client, known, &port);
    if (!known) {
        sink_(Line("error").With("text", "a stranger was refused"));
        return;
    }
    if (NtApi::IsError(status)) {
        ReportFailure("accept", status);
        return;
    }
    clients_[client] = port;
    sink_(Line("connect").With("client", client).With("pid", ReadU32(received.message, 8)));
}

void CPortServer::Disconnect(ClientId client, const char* by) {
    const auto found = clients_.find(client);
    if (found == clients_.end()) {
        return;
    }
    CloseClient(found->second);
    clients_.erase(found);
    sink_(Line("disconnect").With("client", client).With("by", by));
}

void CPortServer::HandleRequest(ReceivedRequest& received, bool wantsReply) {
    PortRequest request;
    PortAnswer answer;
    try {
        request = Decode(received.message);
        request.wantsReply = wantsReply;
        if (request.lengthElsewhere != 0) {
            Require(request.lengthElsewhere <= kMaxRequest, "the request is too long");
            request.payload = Fetch(received, request.lengthElsewhere);
        }
        if (request.command == kPingCommand) {
            TellNative(received, received.client, "ping");
        }
        answer = handler_(request);
    } catch (const CMalformed& problem) {
        sink_(Line("error").With("text", problem.what()));
        answer.code = kCodeMalformed;
    }
    switch (answer.delivery) {
        case PortAnswer::Delivery::kDrop:
            Disconnect(received.client, "product");
            break;
        case PortAnswer::Delivery::kHang:
            break;
        case PortAnswer::Delivery::kReply:
            if (wantsReply) {
                Reply(received, request, answer);
            }
    }
}

void CPortServer::ReportFailure(const char* operation, NtApi::NtStatus status) const {
    if (NtApi::IsError(status)) {
        sink_(Line("error").With("operation", operation).With("status", StatusText(status)));
    }
}

void CPortServer::TellNative(const ReceivedRequest& received, ClientId client,
                             const char* what) const {
    const std::size_t length = ReadU16(received.message, NtApi::kDataLengthOffset);
    sink_(Line("native")
              .With("client", client)
              .With("message", what)
              .With("bytes", ToHex(ReadBytes(received.message, kind_.headerSize, length))));
}

CLine CPortServer::Line(const char* kind) const {
    return CLine(kind).With("transport", NameOf(kind_.transport));
}

}  // namespace Kyr::Lab::SimProduct
