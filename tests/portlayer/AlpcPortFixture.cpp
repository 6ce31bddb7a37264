#include "tests/portlayer/AlpcPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

}  // namespace

CAttributes::CAttributes() {
    constexpr std::uint32_t kBoth = kAlpcMessageViewAttribute | kAlpcMessageContextAttribute;
    std::size_t size = 0;
    EXPECT_EQ(AlpcInitializeMessageAttribute(kBoth, nullptr, 0, &size), kStatusBufferTooSmall);
    buffer_.resize((size + 7) / 8);
    EXPECT_EQ(AlpcInitializeMessageAttribute(kBoth, Get(), size, &size), kStatusSuccess);
}

AlpcDataViewAttr& CAttributes::View() {
    return *static_cast<AlpcDataViewAttr*>(
        AlpcGetMessageAttribute(Get(), kAlpcMessageViewAttribute));
}

AlpcContextAttr& CAttributes::Context() {
    return *static_cast<AlpcContextAttr*>(
        AlpcGetMessageAttribute(Get(), kAlpcMessageContextAttribute));
}

void CAttributes::SetView(const AlpcDataViewAttr& view) {
    View() = view;
    Get()->ValidAttributes |= kAlpcMessageViewAttribute;
}

NtStatus ReceivedCall::Reply(const Bytes& data) {
    return Reply(data, kAlpcReleaseMessage, nullptr);
}

NtStatus ReceivedCall::Reply(const Bytes& data, std::uint32_t flags, CAttributes* sent) {
    Bytes reply = AlpcMessage(data);
    std::memcpy(reply.data() + 8, message.data() + 8, 16);
    return NtAlpcSendWaitReceivePort(port, flags, reply.data(),
                                     sent != nullptr ? sent->Get() : nullptr, nullptr, nullptr,
                                     nullptr, nullptr);
}

NtStatus ReceivedCall::ReplyWithView(const Bytes& data, const Bytes& viewBytes) {
    AlpcDataViewAttr view = MakeView(client, viewBytes);
    view.Flags = kAlpcViewSecured | kAlpcViewAutoRelease;
    CAttributes sent;
    sent.SetView(view);
    const NtStatus status = Reply(data, kAlpcReleaseMessage, &sent);
    if (status != kStatusSuccess) {
        NtAlpcDeleteSectionView(client, 0, view.ViewBase);
    }
    EXPECT_EQ(NtAlpcDeletePortSection(client, 0, view.SectionHandle), kStatusSuccess);
    return status;
}

AlpcDataViewAttr MakeView(Handle port, const Bytes& bytes) {
    AlpcDataViewAttr view = {};
    std::size_t actualSize = 0;
    EXPECT_EQ(NtAlpcCreatePortSection(port, kAlpcPortSectionSecure, nullptr, bytes.size(),
                                      &view.SectionHandle, &actualSize),
              kStatusSuccess);
    EXPECT_GE(actualSize, bytes.size());
    view.ViewSize = bytes.size();
    EXPECT_EQ(NtAlpcCreateSectionView(port, 0, &view), kStatusSuccess);
    std::memcpy(view.ViewBase, bytes.data(), bytes.size());
    return view;
}

Handle AlpcPortFixture::CreatePort(std::size_t maxMessage) {
    AlpcPortAttributes portAttributes = {};
    portAttributes.MaxMessageLength = maxMessage;
    Handle port = nullptr;
    EXPECT_EQ(NtAlpcCreatePort(&port, Attributes(), &portAttributes), kStatusSuccess);
    return port;
}

void AlpcPortFixture::Serve(Handler handler, int threads) {
    handler_ = std::move(handler);
    serverPort_ = CreatePort();
    for (int i = 0; i < threads; ++i) {
        servers_.emplace_back([this] { Run(); });
    }
}

void AlpcPortFixture::StopServer() {
    if (servers_.empty()) {
        return;
    }
    EXPECT_EQ(NtClose(serverPort_), kStatusSuccess);
    for (std::thread& server : servers_) {
        server.join();
    }
    servers_.clear();
    for (const Handle client : clients_) {
        NtClose(client);
    }
    clients_.clear();
}

void AlpcPortFixture::Run() {
    Bytes message(kAlpcMaxMessage);
    CAttributes attributes;
    for (;;) {
        std::size_t length = message.size();
        if (NtAlpcSendWaitReceivePort(serverPort_, 0, nullptr, nullptr, message.data(), &length,
                                      attributes.Get(), nullptr) != kStatusSuccess) {
            return;
        }
        if (Kind(message.data()) == kLpcConnectionRequest) {
            Accept(message);
            continue;
        }
        const auto number = reinterpret_cast<std::uintptr_t>(attributes.Context().PortContext);
        std::unique_lock<std::mutex> lock(mutex_);
        ReceivedCall call{serverPort_, clients_.at(number - 1), message, attributes};
        lock.unlock();
        handler_(call);
    }
}

void AlpcPortFixture::Accept(Bytes& message) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Handle client = nullptr;
    auto* const number = reinterpret_cast<void*>(clients_.size() + 1);
    EXPECT_EQ(NtAlpcAcceptConnectPort(&client, serverPort_, 0, nullptr, nullptr, number,
                                      message.data(), nullptr, 1),
              kStatusSuccess);
    clients_.push_back(client);
}

NtStatus AlpcPortFixture::TryConnect(Handle& port, Bytes* message, std::int64_t* timeout,
                                     std::size_t maxMessage) {
    AlpcPortAttributes attributes = {};
    attributes.MaxMessageLength = maxMessage;
    std::size_t length = message != nullptr ? message->size() : 0;
    return NtAlpcConnectPort(&port, Name(), nullptr, &attributes, kAlpcSynchronous, nullptr,
                             message != nullptr ? message->data() : nullptr,
                             message != nullptr ? &length : nullptr, nullptr, nullptr, timeout);
}

Handle AlpcPortFixture::Connect() {
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusSuccess);
    return CloseAtEnd(port);
}

NtStatus AlpcPortFixture::Exchange(Handle port, Bytes request, Bytes& reply, CAttributes* sent,
                                   CAttributes* received, std::int64_t* timeout) {
    reply.assign(kAlpcMaxMessage, 0xEE);
    std::size_t length = reply.size();
    const NtStatus status = NtAlpcSendWaitReceivePort(
        port, kAlpcSynchronous, request.data(), sent != nullptr ? sent->Get() : nullptr,
        reply.data(), &length, received != nullptr ? received->Get() : nullptr, timeout);
    if (status == kStatusSuccess) {
        reply.resize(length);
    }
    return status;
}

NtStatus AlpcPortFixture::Release(Handle port, Bytes& message, CAttributes* attributes) {
    return NtAlpcSendWaitReceivePort(port, kAlpcReleaseMessage, message.data(),
                                     attributes != nullptr ? attributes->Get() : nullptr, nullptr,
                                     nullptr, nullptr, nullptr);
}

void AlpcPortFixture::ExpectGivenUp() {
    const Handle port = Connect();
    Bytes reply;
    EXPECT_EQ(Exchange(port, AlpcMessage({}), reply), kStatusPortDisconnected);
    EXPECT_EQ(Exchange(port, AlpcMessage({}), reply), kStatusPortDisconnected);
}

NtStatus AlpcPortFixture::SendOneWay(Handle port, Bytes message, CAttributes* attributes) {
    return Release(port, message, attributes);
}

NtStatus AlpcPortFixture::TryAsk(Handle port, const Bytes& data, Bytes& answer) {
    Bytes reply;
    const NtStatus status = Exchange(port, AlpcMessage(data), reply);
    if (status == kStatusSuccess) {
        answer = AlpcData(reply.data());
    }
    return status;
}

}  // namespace Kyr::Test
