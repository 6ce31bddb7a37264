#include "tests/portlayer/LpcPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

}  // namespace

NtStatus LpcCall::Reply(const Bytes& data) {
    Bytes reply = LpcMessage(data);
    // The ids tell which request is answered.
    std::memcpy(reply.data() + 8, message.data() + 8, LpcLayout::kHeaderSize - 8);
    return NtReplyPort(port, reply.data());
}

NtStatus LpcCall::Read(std::uint32_t entry, void* buffer, std::size_t size) {
    return NtReadRequestData(port, message.data(), entry, buffer, size, nullptr);
}

NtStatus LpcCall::Write(std::uint32_t entry, const void* buffer, std::size_t size) {
    return NtWriteRequestData(port, message.data(), entry, const_cast<void*>(buffer), size,
                              nullptr);
}

Handle LpcPortFixture::CreatePort(std::size_t maxMessage) {
    Handle port = nullptr;
    EXPECT_EQ(NtCreatePort(&port, Attributes(), 260, static_cast<std::uint32_t>(maxMessage), 0),
              kStatusSuccess);
    return port;
}

void LpcPortFixture::Serve(Handler handler) {
    handler_ = std::move(handler);
    serverPort_ = CreatePort();
    server_ = std::thread([this] { Run(); });
}

void LpcPortFixture::StopServer() {
    if (server_.joinable()) {
        EXPECT_EQ(NtClose(serverPort_), kStatusSuccess);
        server_.join();
    }
}

void LpcPortFixture::Run() {
    std::vector<Handle> clients;
    Bytes message(LpcLayout::kMaxMessage);
    void* context = nullptr;
    while (NtReplyWaitReceivePortEx(serverPort_, &context, nullptr, message.data(), nullptr) ==
           kStatusSuccess) {
        if (Kind(message.data()) != kLpcConnectionRequest) {
            LpcCall call{serverPort_, message, context};
            handler_(call);
            continue;
        }
        Handle client = nullptr;
        auto* const number = reinterpret_cast<void*>(clients.size() + 1);
        EXPECT_EQ(NtAcceptConnectPort(&client, number, message.data(), 1, nullptr, nullptr),
                  kStatusSuccess);
        EXPECT_EQ(NtCompleteConnectPort(client), kStatusSuccess);
        clients.push_back(client);
    }
    for (const Handle client : clients) {
        NtClose(client);
    }
}

NtStatus LpcPortFixture::TryConnect(Handle& port, Bytes* information) {
    SecurityQualityOfService qos = {12, kSecurityImpersonation, kSecurityDynamicTracking, 0, {}};
    std::uint32_t length = information != nullptr ? information->size() : 0;
    const NtStatus status = NtConnectPort(&port, Name(), &qos, nullptr, nullptr, nullptr,
                                          information != nullptr ? information->data() : nullptr,
                                          information != nullptr ? &length : nullptr);
    if (information != nullptr) {
        information->resize(length);
    }
    return status;
}

Handle LpcPortFixture::Connect() {
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusSuccess);
    return CloseAtEnd(port);
}

NtStatus LpcPortFixture::Exchange(Handle port, Bytes request, Bytes& reply) {
    reply.assign(LpcLayout::kMaxMessage, 0xEE);
    return NtRequestWaitReplyPort(port, request.data(), reply.data());
}

NtStatus LpcPortFixture::TryAsk(Handle port, const Bytes& data, Bytes& answer) {
    Bytes reply;
    const NtStatus status = Exchange(port, LpcMessage(data), reply);
    if (status == kStatusSuccess) {
        answer = LpcData(reply.data());
    }
    return status;
}

}  // namespace Kyr::Test
