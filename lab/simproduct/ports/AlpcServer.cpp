#include <cstring>

#include "lab/simproduct/ports/PortMessages.h"
#include "lab/simproduct/ports/PortServer.h"
#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::Lab::SimProduct {

namespace {

using NtApi::AlpcDataViewAttr;

/// What a client sends when it connects: the protocol's name and version, and the longest reply
/// that it takes inside a message.
const Bytes kAlpcConnectionInfo{'K', 'e', 'l', 'C', 'o',  'm',  'm', ' ',
                                2,   0,   0,   0,   0xCF, 0xFF, 0,   0};

/// What comes with a message: the system lays the bodies behind the head in this order.
struct Attributes {
    NtApi::AlpcMessageAttributes head{
        NtApi::kAlpcMessageViewAttribute | NtApi::kAlpcMessageContextAttribute, 0};
    AlpcDataViewAttr view{};
    NtApi::AlpcContextAttr context{};
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
        Attributes attributes;
        received.message.assign(kAlpcMaxMessage, 0);
        std::size_t size = received.message.size();
        std::int64_t timeout = kServeTimeout;
        const NtApi::NtStatus status = PortLayer::NtAlpcSendWaitReceivePort(
            Port(), 0, nullptr, nullptr, received.message.data(), &size, &attributes.head,
            &timeout);
        received.client = reinterpret_cast<ClientId>(attributes.context.PortContext);
        const bool hasView =
            (attributes.head.ValidAttributes & NtApi::kAlpcMessageViewAttribute) != 0;
        received.view = hasView ? std::optional(attributes.view) : std::nullopt;
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

    PortRequest Decode(const Bytes& message) const override { return DecodeAlpcRequest(message); }

    Bytes Fetch(ReceivedRequest& received, std::uint32_t length) const override {
        Require(received.view && received.view->ViewSize >= length,
                "the request's view is missing or too small");
        const auto* const bytes = static_cast<const std::uint8_t*>(received.view->ViewBase);
        return Bytes(bytes, bytes + length);
    }

    void Reply(ReceivedRequest& received, const PortRequest&,
               const PortAnswer& answer) const override {
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
        Attributes attributes;
        attributes.head.ValidAttributes = NtApi::kAlpcMessageViewAttribute;
        AlpcDataViewAttr& view = attributes.view;
        view.ViewSize = size;
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
            status = PortLayer::NtAlpcSendWaitReceivePort(port, 0, reply.data(), &attributes.head,
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
