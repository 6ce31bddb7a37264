#include "tests/portlayer/LpcPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

}  // namespace

NtStatus CLpcCall::Reply(const Bytes& data) {
    Bytes reply = LpcMessage(data);
    // The ids tell which request is answered.
    std::memcpy(reply.data() + 8, message.data() + 8, LpcLayout::kHeaderSize - 8);
    return ports_.NtReplyPort(port_, reply.data());
}

NtStatus CLpcCall::Read(std::uint32_t entry, void* buffer, std::size_t size) {
    return ports_.NtReadRequestData(port_, message.data(), entry, buffer, size, nullptr);
}

NtStatus CLpcCall::Write(std::uint32_t entry, const void* buffer, std::size_t size) {
    return ports_.NtWriteRequestData(port_, message.data(), entry, const_cast<void*>(buffer), size,
                                     nullptr);
}

void LpcPortFixture::TearDown() {
    StopServer();
    PortFixture::TearDown();
}

Handle LpcPortFixture::CreatePort(std::size_t maxMessage) {
    ObjectAttributes attributes = {sizeof attributes, nullptr, Name(), 0, nullptr, nullptr};
    Handle port = nullptr;
    EXPECT_EQ(
        Ports().NtCreatePort(&port, &attributes, 260, static_cast<std::uint32_t>(maxMessage), 0),
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
        EXPECT_EQ(Ports().NtClose(serverPort_), kStatusSuccess);
        server_.join();
    }
}

void LpcPortFixture::Run() {
    std::vector<Handle> clients;
    Bytes message(LpcLayout::kMaxMessage);
    void* context = nullptr;
    while (Ports().NtReplyWaitReceivePortEx(serverPort_, &context, nullptr, message.data(),
                                            nullptr) == kStatusSuccess) {
        if (Kind(message.data()) != kLpcConnectionRequest) {
            CLpcCall call(Ports(), serverPort_, message, context);
            handler_(call);
            continue;
        }
        Handle client = nullptr;
        auto* const number = reinterpret_cast<void*>(clients.size() + 1);
        EXPECT_EQ(Ports().NtAcceptConnectPort(&client, number, message.data(), 1, nullptr, nullptr),
                  kStatusSuccess);
        EXPECT_EQ(Ports().NtCompleteConnectPort(client), kStatusSuccess);
        clients.push_back(client);
    }
    for (const Handle client : clients) {
        Ports().NtClose(client);
    }
}

NtStatus LpcPortFixture::TryConnect(Handle& port, Bytes* information) {
    SecurityQualityOfService qos = {12, kSecurityImpersonation, kSecurityDynamicTracking, 0, {}};
    std::uint32_t length = information != nullptr ? information->size() : 0;
    const NtStatus status =
        Ports().NtConnectPort(&port, Name(), &qos, nullptr, nullptr, nullptr,
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
    return port;
}

NtStatus LpcPortFixture::Exchange(Handle port, Bytes request, Bytes& reply) {
    reply.assign(LpcLayout::kMaxMessage, 0xEE);
    return Ports().NtRequestWaitReplyPort(port, request.data(), reply.data());
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
