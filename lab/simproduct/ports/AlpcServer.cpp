#include <cstring>

#include "lab/simproduct/ports/PortMessages.h"
#include "lab/simproduct/ports/PortServer.h"
#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::Lab::SimProduct {

namespace {

using NtApi::AlpcContextAttr;
using NtApi::AlpcDataViewAttr;
using NtApi::AlpcMessageAttributes;

/// What a client sends when it connects: the protocol's name and version, and the longest reply
/// that it takes inside a message.
const Bytes kAlpcConnectionInfo{'K', 'e', 'l', 'C', 'o',  'm',  'm', ' ',
                                2,   0,   0,   0,   0xCF, 0xFF, 0,   0};

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

class CAlpcServer final : public CPortServer {
  public:
    CAlpcServer(RequestHandler handler, LineSink sink)
        : CPortServer(
              std::move(handler), std::move(sink),
              {Transport::kAlpc, "advanced", kAlpcPortName, kAlpcConnectionInfo, kAlpcHeaderSize}) {
    }
    ~CAlpcServer() override { Close(); }

  private:
    NtApi::NtStatus CreatePort(NtApi::Handle* port, NtApi::ObjectAttributes& object) override {
        NtApi::AlpcPortAttributes attributes = PortAttributes();
        return PortLayer::NtAlpcCreatePort(port, &object, &attributes);
    }

    NtApi::NtStatus Receive(ReceivedRequest& received) override {
        CAttributes attributes(NtApi::kAlpcMessageViewAttribute |
                               NtApi::kAlpcMessageContextAttribute);
        received.message.assign(kAlpcMaxMessage, 0);
        std::size_t size = received.message.size();
        std::int64_t timeout = kServeTimeout;
        const NtApi::NtStatus status = PortLayer::NtAlpcSendWaitReceivePort(
            Port(), 0, nullptr, nullptr, received.message.data(), &size, attributes.Get(),
            &timeout);
        const auto* const context =
            attributes.Find<AlpcContextAttr>(NtApi::kAlpcMessageContextAttribute);
        const auto* const view =
            attributes.Find<AlpcDataViewAttr>(NtApi::kAlpcMessageViewAttribute);
        received.client = context == nullptr ? 0 : reinterpret_cast<ClientId>(context->PortContext);
        received.view = view == nullptr ? std::nullopt : std::optional(*view);
        return status;
    }

    NtApi::NtStatus Accept(ReceivedRequest& received, ClientId client, bool known,
                           NtApi::Handle* port) override {
        NtApi::AlpcPortAttributes attributes = PortAttributes();
        return PortLayer::NtAlpcAcceptConnectPort(port, Port(), 0, nullptr, &attributes,
                                                  reinterpret_cast<void*>(client),
                                                  received.message.data(), nullptr, known ? 1 : 0);
    }

    void CloseClient(NtApi::Handle port) override {
        PortLayer::NtAlpcDisconnectPort(port, 0);
        PortLayer::NtClose(port);
    }

    void Release(ReceivedRequest& received) override {
        const NtApi::Handle port = PortOf(received.client);
        if (port == nullptr) {
            return;  // everything that came from it went with its port
        }
        if (received.view) {
            PortLayer::NtAlpcDeleteSectionView(port, 0, received.view->ViewBase);
        }
        const std::uint16_t type = ReadU16(received.message, NtApi::kTypeOffset);
        const bool isDatagram = (type & NtApi::kMessageKindMask) == NtApi::kLpcDatagram;
        if (isDatagram && (type & NtApi::kLpcContinuationRequired) != 0) {
            PortLayer::NtAlpcSendWaitReceivePort(port, NtApi::kAlpcReleaseMessage,
                                                 received.message.data(), nullptr, nullptr, nullptr,
                                                 nullptr, nullptr);
        }
    }

    PortRequest ReadRequest(ReceivedRequest& received) override {
        const AlpcRequest decoded = DecodeAlpcRequest(received.message);
        PortRequest request;
        request.command = decoded.command;
        request.replyCapacity = decoded.replyCapacity;
        request.payload = decoded.payload;
        if (!decoded.payloadInView) {
            return request;
        }
        Require(received.view && received.view->ViewSize >= decoded.requestLength,
                "the request's view is missing or too small");
        Require(decoded.requestLength <= kMaxRequest, "the request is too long");
        const auto* const bytes = static_cast<const std::uint8_t*>(received.view->ViewBase);
        request.payload.assign(bytes, bytes + decoded.requestLength);
        return request;
    }

    void Reply(ReceivedRequest& received, const PortAnswer& answer) override {
        const NtApi::Handle port = PortOf(received.client);
        if (answer.bytes.size() > kAlpcMaxInlineReply && !answer.withoutView) {
            SendInView(port, received, answer);
            return;
        }
        const Bytes inlineReply = answer.withoutView ? Bytes() : answer.bytes;
        Bytes reply = EncodePortReply(kAlpcHeaderSize, received.message, answer.code,
                                      answer.AnnouncedLength(), inlineReply);
        const NtApi::NtStatus status =
            PortLayer::NtAlpcSendWaitReceivePort(port, NtApi::kAlpcReleaseMessage, reply.data(),
                                                 nullptr, nullptr, nullptr, nullptr, nullptr);
        ReportFailure("reply", status);
    }

    void SendInView(NtApi::Handle port, const ReceivedRequest& received,
                    const PortAnswer& answer) const {
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
            Bytes reply = EncodePortReply(kAlpcHeaderSize, received.message, answer.code,
                                          answer.AnnouncedLength(), {});
            // Not released: the client still has to read the view, and releases the reply after
            // that.
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
};

}  // namespace

std::unique_ptr<CPortServer> MakeAlpcServer(RequestHandler handler, LineSink sink) {
    return std::make_unique<CAlpcServer>(std::move(handler), std::move(sink));
}

}  // namespace Kyr::Lab::SimProduct
