#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

using namespace NtApi;

namespace {

/// The native time-out, which stands in `ticks`.
std::int64_t* Native(const Patience& patience, std::int64_t& ticks) {
    ticks = patience ? -patience->count() * 10000 : 0;
    return patience ? &ticks : nullptr;
}

}  // namespace

void ServedPortFixture::TearDown() {
    CloseAll();
    StopServer();
    PortFixture::TearDown();
}

Bytes ServedPortFixture::MakeMessage(const Bytes& data) const {
    return IsLegacy() ? LpcMessage(data) : AlpcMessage(data);
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
    return CloseLater(port);
}

NtStatus ServedPortFixture::TryReceive(Handle port, Bytes& message, Patience patience,
                                       CAttributes* attributes) {
    message.assign(traits_.longestMessage, 0xEE);
    std::int64_t ticks = 0;
    std::int64_t* const timeout = Native(patience, ticks);
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

Handle ServedPortFixture::Accept(Handle port, Bytes& request) {
    Handle accepted = nullptr;
    EXPECT_EQ(Answer(port, request, true, accepted), kStatusSuccess);
    return CloseLater(accepted);
}

void ServedPortFixture::Serve(Handler handler, int threads) {
    handler_ = std::move(handler);
    EXPECT_EQ(TryCreatePort(serverPort_, traits_.longestMessage), kStatusSuccess);
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
    while (TryReceive(serverPort_, message, {}, &attributes) == kStatusSuccess) {
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

NtStatus ServedPortFixture::TryConnect(Handle& port, Bytes* information, Patience patience) {
    NtStatus status = kStatusSuccess;
    if (IsLegacy()) {
        SecurityQualityOfService qos = {
            12, kSecurityImpersonation, kSecurityDynamicTracking, 0, {}};
        std::uint32_t length = information != nullptr ? information->size() : 0;
        status = NtConnectPort(&port, Name(), &qos, nullptr, nullptr, nullptr,
                               information != nullptr ? information->data() : nullptr,
                               information != nullptr ? &length : nullptr);
        if (information != nullptr) {
            information->resize(length);
        }
    } else {
        AlpcPortAttributes attributes = {};
        attributes.MaxMessageLength = traits_.longestOfClients;
        Bytes message = AlpcMessage(information != nullptr ? *information : Bytes());
        std::size_t length = message.size();
        std::int64_t ticks = 0;
        status = NtAlpcConnectPort(&port, Name(), nullptr, &attributes, kAlpcSynchronous, nullptr,
                                   information != nullptr ? message.data() : nullptr,
                                   information != nullptr ? &length : nullptr, nullptr, nullptr,
                                   Native(patience, ticks));
        if (information != nullptr) {
            *information = AlpcData(message.data());
        }
    }
    CloseLater(port);
    return status;
}

NtStatus ServedPortFixture::TryConnect(Patience patience) {
    Handle port = nullptr;
    const NtStatus status = TryConnect(port, nullptr, patience);
    EXPECT_EQ(port != nullptr, status == kStatusSuccess);
    return status;
}

std::future<NtStatus> ServedPortFixture::ConnectInBackground(Bytes* information) {
    return std::async(std::launch::async, [this, information] {
        Handle port = nullptr;
        return TryConnect(port, information);
    });
}

Handle ServedPortFixture::Connect() {
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusSuccess);
    return port;
}

NtStatus ServedPortFixture::Exchange(Handle port, Bytes request, Bytes& reply, CAttributes* sent,
                                     CAttributes* received, Patience patience) {
    reply.assign(traits_.longestMessage, 0xEE);
    if (IsLegacy()) {
        return NtRequestWaitReplyPort(port, request.data(), reply.data());
    }
    std::size_t length = reply.size();
    std::int64_t ticks = 0;
    const NtStatus status = NtAlpcSendWaitReceivePort(
        port, kAlpcSynchronous, request.data(), AttributesOf(sent), reply.data(), &length,
        AttributesOf(received), Native(patience, ticks));
    if (status == kStatusSuccess) {
        reply.resize(length);
    }
    return status;
}

NtStatus ServedPortFixture::TryAsk(Handle port, CAttributes* sent, Patience patience) {
    Bytes reply;
    return Exchange(port, MakeMessage({}), reply, sent, nullptr, patience);
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
    return status == kStatusSuccess ? DataOf(kind_, reply) : Bytes();
}

std::future<NtStatus> ServedPortFixture::AskInVain(Handle port) {
    auto asking = std::async(std::launch::async, [this, port] { return TryAsk(port); });
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

NtStatus AlpcPortFixture::TryCreateSection(Handle port, std::size_t size, Handle& section,
                                           std::uint32_t flags) {
    return NtAlpcCreatePortSection(port, flags, nullptr, size, &section, nullptr);
}

NtStatus AlpcPortFixture::Release(Handle port, Bytes& message, CAttributes* attributes) {
    return SendOneWay(port, message, attributes);
}

void AlpcPortFixture::ExpectGivenUp() {
    const Handle port = Connect();
    EXPECT_EQ(TryAsk(port), kStatusPortDisconnected);
    EXPECT_EQ(TryAsk(port), kStatusPortDisconnected);
}

}  // namespace Kyr::Test
