#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

/// On an advanced port: less than the port's own limit.
constexpr std::size_t kClientsLongest = 0xFFEF;

}  // namespace

void ServedPortFixture::TearDown() {
    for (const Handle port : connected_) {
        CloseHandle(port);
    }
    StopServer();
    PortFixture::TearDown();
}

std::size_t ServedPortFixture::HeaderSize() const {
    return IsLegacy() ? LpcLayout::kHeaderSize : AlpcLayout::kHeaderSize;
}

std::size_t ServedPortFixture::LongestData() const {
    return (IsLegacy() ? LpcLayout::kMaxMessage : kClientsLongest) - HeaderSize();
}

std::size_t ServedPortFixture::LongestMessage() const {
    return IsLegacy() ? LpcLayout::kMaxMessage : kAlpcMaxMessage;
}

Bytes ServedPortFixture::MakeMessage(const Bytes& data) const {
    return IsLegacy() ? LpcMessage(data) : AlpcMessage(data);
}

Bytes ServedPortFixture::DataOf(const Bytes& message) const {
    return IsLegacy() ? LpcData(message.data()) : AlpcData(message.data());
}

NtStatus ServedPortFixture::ServerGone() const {
    return IsLegacy() ? kStatusLpcReplyLost : kStatusPortDisconnected;
}

NtStatus ServedPortFixture::NoSuchRequest() const {
    return IsLegacy() ? kStatusReplyMessageMismatch : kStatusInvalidMessage;
}

NtStatus ServedPortFixture::TryCreatePort(Handle& port, std::size_t maxMessage) {
    if (IsLegacy()) {
        return NtCreatePort(&port, Attributes(), 260, static_cast<std::uint32_t>(maxMessage), 0);
    }
    AlpcPortAttributes portAttributes = {};
    portAttributes.MaxMessageLength = maxMessage;
    return NtAlpcCreatePort(&port, Attributes(), &portAttributes);
}

Handle ServedPortFixture::CreatePort(std::size_t maxMessage) {
    Handle port = nullptr;
    EXPECT_EQ(TryCreatePort(port, maxMessage), kStatusSuccess);
    return port;
}

NtStatus ServedPortFixture::TryReceive(Handle port, Bytes& message, std::int64_t* timeout,
                                       CAttributes* attributes) {
    message.assign(LongestMessage(), 0xEE);
    if (IsLegacy()) {
        void** const context = attributes != nullptr ? &attributes->Context().PortContext : nullptr;
        return NtReplyWaitReceivePortEx(port, context, nullptr, message.data(), timeout);
    }
    std::size_t length = message.size();
    return NtAlpcSendWaitReceivePort(port, 0, nullptr, nullptr, message.data(), &length,
                                     AttributesOf(attributes), timeout);
}

Bytes ServedPortFixture::Receive(Handle port) {
    Bytes message;
    EXPECT_EQ(TryReceive(port, message), kStatusSuccess);
    return message;
}

NtStatus ServedPortFixture::Answer(Handle port, Bytes& request, bool accept, Handle& accepted,
                                   std::size_t number) {
    auto* const context = reinterpret_cast<void*>(number);
    if (!IsLegacy()) {
        return NtAlpcAcceptConnectPort(&accepted, port, 0, nullptr, nullptr, context,
                                       request.data(), nullptr, accept ? 1 : 0);
    }
    const NtStatus status =
        NtAcceptConnectPort(&accepted, context, request.data(), accept ? 1 : 0, nullptr, nullptr);
    return status == kStatusSuccess && accept ? NtCompleteConnectPort(accepted) : status;
}

void ServedPortFixture::Serve(Handler handler, int threads) {
    handler_ = std::move(handler);
    serverPort_ = CreatePort();
    for (int i = 0; i < threads; ++i) {
        servers_.emplace_back([this] { Run(); });
    }
}

void ServedPortFixture::StopServer() {
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

void ServedPortFixture::Run() {
    Bytes message;
    CAttributes attributes;
    while (TryReceive(serverPort_, message, nullptr, &attributes) == kStatusSuccess) {
        if (Kind(message.data()) == kLpcConnectionRequest) {
            AcceptNext(message);
            continue;
        }
        const auto number = reinterpret_cast<std::uintptr_t>(attributes.Context().PortContext);
        std::unique_lock<std::mutex> lock(mutex_);
        ReceivedCall call{kind_, serverPort_, clients_.at(number - 1), message, attributes};
        lock.unlock();
        handler_(call);
    }
}

void ServedPortFixture::AcceptNext(Bytes& request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Handle client = nullptr;
    EXPECT_EQ(Answer(serverPort_, request, true, client, clients_.size() + 1), kStatusSuccess);
    clients_.push_back(client);
}

ServedPortFixture::Handler ServedPortFixture::OnRequests(Handler handler) {
    return [handler](ReceivedCall& call) {
        if (call.IsRequest()) {
            handler(call);
        }
    };
}

void ServedPortFixture::Echo(ReceivedCall& call) {
    EXPECT_EQ(call.Reply(call.Data()), kStatusSuccess);
}

ServedPortFixture::Handler ServedPortFixture::Silence() {
    return OnRequests([this](ReceivedCall&) { asked_.set_value(); });
}

NtStatus ServedPortFixture::TryConnect(Handle& port, Bytes* information, std::int64_t* timeout) {
    if (IsLegacy()) {
        SecurityQualityOfService qos = {
            12, kSecurityImpersonation, kSecurityDynamicTracking, 0, {}};
        std::uint32_t length = information != nullptr ? information->size() : 0;
        const NtStatus status =
            NtConnectPort(&port, Name(), &qos, nullptr, nullptr, nullptr,
                          information != nullptr ? information->data() : nullptr,
                          information != nullptr ? &length : nullptr);
        if (information != nullptr) {
            information->resize(length);
        }
        return status;
    }
    AlpcPortAttributes attributes = {};
    attributes.MaxMessageLength = kClientsLongest;
    Bytes message = AlpcMessage(information != nullptr ? *information : Bytes());
    std::size_t length = message.size();
    const NtStatus status =
        NtAlpcConnectPort(&port, Name(), nullptr, &attributes, kAlpcSynchronous, nullptr,
                          information != nullptr ? message.data() : nullptr,
                          information != nullptr ? &length : nullptr, nullptr, nullptr, timeout);
    if (information != nullptr) {
        *information = AlpcData(message.data());
    }
    return status;
}

std::future<NtStatus> ServedPortFixture::ConnectInBackground() {
    return std::async(std::launch::async, [this] {
        Handle port = nullptr;
        return TryConnect(port);
    });
}

Handle ServedPortFixture::Connect() {
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusSuccess);
    const std::lock_guard<std::mutex> lock(mutex_);
    connected_.push_back(port);
    return port;
}

NtStatus ServedPortFixture::Exchange(Handle port, Bytes request, Bytes& reply, CAttributes* sent,
                                     CAttributes* received, std::int64_t* timeout) {
    reply.assign(LongestMessage(), 0xEE);
    if (IsLegacy()) {
        return NtRequestWaitReplyPort(port, request.data(), reply.data());
    }
    std::size_t length = reply.size();
    const NtStatus status =
        NtAlpcSendWaitReceivePort(port, kAlpcSynchronous, request.data(), AttributesOf(sent),
                                  reply.data(), &length, AttributesOf(received), timeout);
    if (status == kStatusSuccess) {
        reply.resize(length);
    }
    return status;
}

NtStatus ServedPortFixture::SendOneWay(Handle port, Bytes message, CAttributes* attributes) {
    return IsLegacy() ? NtRequestPort(port, message.data())
                      : NtAlpcSendWaitReceivePort(port, kAlpcReleaseMessage, message.data(),
                                                  AttributesOf(attributes), nullptr, nullptr,
                                                  nullptr, nullptr);
}

Bytes ServedPortFixture::Ask(Handle port, const Bytes& data) {
    Bytes reply;
    const NtStatus status = Exchange(port, MakeMessage(data), reply);
    EXPECT_EQ(status, kStatusSuccess);
    return status == kStatusSuccess ? DataOf(reply) : Bytes();
}

std::future<NtStatus> ServedPortFixture::AskInVain(Handle port) {
    auto asking = std::async(std::launch::async, [this, port] {
        Bytes reply;
        return Exchange(port, MakeMessage({}), reply);
    });
    asked_.get_future().get();
    return asking;
}

void ServedPortFixture::AskOnThreads(Handle port, int count, int times) {
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int thread = 0; thread < count; ++thread) {
        threads.emplace_back([this, port, times, thread] {
            for (int i = 0; i < times; ++i) {
                const Bytes data = ToBytes(std::to_string(thread) + ":" + std::to_string(i));
                ASSERT_EQ(Ask(port, data), data);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

NtStatus AlpcPortFixture::Release(Handle port, Bytes& message, CAttributes* attributes) {
    return SendOneWay(port, message, attributes);
}

void AlpcPortFixture::ExpectGivenUp() {
    const Handle port = Connect();
    Bytes reply;
    EXPECT_EQ(Exchange(port, AlpcMessage({}), reply), kStatusPortDisconnected);
    EXPECT_EQ(Exchange(port, AlpcMessage({}), reply), kStatusPortDisconnected);
}

}  // namespace Kyr::Test
