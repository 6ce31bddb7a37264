#include <algorithm>

#include "lab/simproduct/ports/PortMessages.h"
#include "lab/simproduct/ports/PortServer.h"
#include "lab/simproduct/requests/StatusText.h"
#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::Lab::SimProduct {

namespace {

/// What a client sends when it connects: the protocol's name and version.
const Bytes kLpcConnectionInfo{'K', 'e', 'l', 'C', 'o', 'm', 'm', ' ', 2, 0, 0, 0};

/// The structures that clients on this computer use on legacy ports.
LpcLayout SystemLayout() {
    NtApi::Bool isWow64 = 0;
    const bool known = PortLayer::IsWow64Process(PortLayer::GetCurrentProcess(), &isWow64) != 0;
    return known && isWow64 != 0 ? kLpcLayout64 : kLpcLayout32;
}

constexpr std::uint32_t LongestMessage(const LpcLayout& layout) {
    return static_cast<std::uint32_t>(layout.headerSize + 8 + layout.maxInlineReply);
}

class CLpcServer final : public CPortServer {
  public:
    CLpcServer(RequestHandler handler, LineSink sink, const LpcLayout& layout)
        : CPortServer(
              std::move(handler), std::move(sink),
              {Transport::kLpc, "legacy", kLpcPortName, kLpcConnectionInfo, layout.headerSize}),
          layout_(layout) {}
    ~CLpcServer() override { Close(); }

  private:
    NtApi::NtStatus CreatePort(NtApi::Handle* port, NtApi::ObjectAttributes& object) override {
        return PortLayer::NtCreatePort(port, &object,
                                       static_cast<std::uint32_t>(kLpcConnectionInfo.size()),
                                       LongestMessage(layout_), 0);
    }

    NtApi::NtStatus Receive(ReceivedRequest& received) override {
        received.message.assign(LongestMessage(layout_), 0);
        void* context = nullptr;
        std::int64_t timeout = kServeTimeout;
        const NtApi::NtStatus status = PortLayer::NtReplyWaitReceivePortEx(
            Port(), &context, nullptr, received.message.data(), &timeout);
        received.client = reinterpret_cast<ClientId>(context);
        return status;
    }

    NtApi::NtStatus Accept(ReceivedRequest& received, ClientId client, bool known,
                           NtApi::Handle* port) override {
        const NtApi::NtStatus status = PortLayer::NtAcceptConnectPort(
            port, reinterpret_cast<void*>(client), received.message.data(), known ? 1 : 0, nullptr,
            nullptr);
        if (!known || NtApi::IsError(status)) {
            return status;
        }
        const NtApi::NtStatus completed = PortLayer::NtCompleteConnectPort(*port);
        if (NtApi::IsError(completed)) {
            PortLayer::NtClose(*port);
        }
        return completed;
    }

    void CloseClient(NtApi::Handle port) override { PortLayer::NtClose(port); }

    PortRequest Decode(const Bytes& message) const override {
        return DecodeLpcRequest(layout_, message);
    }

    Bytes Fetch(ReceivedRequest& received, std::uint32_t length) const override {
        Bytes payload(length);
        std::size_t done = 0;
        const NtApi::NtStatus status =
            PortLayer::NtReadRequestData(PortOf(received.client), received.message.data(), 0,
                                         payload.data(), payload.size(), &done);
        if (NtApi::IsError(status) || done != payload.size()) {
            throw CMalformed("the request buffer cannot be read: " + StatusText(status));
        }
        return payload;
    }

    void Reply(ReceivedRequest& received, const PortRequest& request,
               const PortAnswer& answer) const override {
        Bytes inlineReply = answer.bytes;
        if (inlineReply.size() > layout_.maxInlineReply) {
            if (request.replyBuffer) {
                // Into the client's own buffer, before it wakes; a reply that is too long on
                // purpose fills the buffer and no more.
                const std::size_t size =
                    std::min<std::size_t>(inlineReply.size(), *request.replyBuffer);
                const NtApi::NtStatus status =
                    PortLayer::NtWriteRequestData(PortOf(received.client), received.message.data(),
                                                  1, inlineReply.data(), size, nullptr);
                ReportFailure("write", status);
            }
            inlineReply.resize(request.replyBuffer ? 0 : layout_.maxInlineReply);
        }
        Bytes reply = EncodePortReply(layout_.headerSize, received.message, answer.code,
                                      answer.AnnouncedLength(), inlineReply);
        const NtApi::NtStatus status =
            PortLayer::NtReplyPort(PortOf(received.client), reply.data());
        ReportFailure("reply", status);
    }

    const LpcLayout layout_;
};

}  // namespace

std::unique_ptr<CPortServer> MakeLpcServer(RequestHandler handler, LineSink sink) {
    return std::make_unique<CLpcServer>(std::move(handler), std::move(sink), SystemLayout());
}

}  // namespace Kyr::Lab::SimProduct
