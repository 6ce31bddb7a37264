// Round trips of the product's clients and channels over the port layer, side by side with the same
// bytes in bare packets. Names tell the size of the reply; requests carry 64 bytes.
//
// The server answers as the product does: a reply that does not fit the offered capacity becomes a
// bare header with status 5. A channel's replies begin with that header, so none is shorter.
#include <algorithm>

#include <boost/make_shared.hpp>

#include "base/LittleEndian.h"
#include "bench/PortBench.h"
#include "kelcomm/KelcommChannelBuffer.h"
#include "kelcomm/OvAgentChannel.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/KelcommNames.h"
#include "kelcomm/ports/AlpcMessages.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "tests/support/product/FakeReceiver.h"
#include "tests/support/product/PortMessages.h"

namespace {

using namespace Kyr::Bench;
using namespace Kyr::Connectors::Common::Kelcomm;
using namespace Kyr::Test;
using Kyr::Base::StoreLittleEndian;

constexpr std::uint32_t kCommand = 3;
constexpr std::size_t kHeaderSize = 12;

Bytes Header(std::uint32_t status) {
    Bytes header(kHeaderSize);
    StoreLittleEndian<std::uint32_t>(header.data(), kHeaderSize);
    StoreLittleEndian<std::uint32_t>(header.data() + 4, status);
    return header;
}

/// Answers with the bytes, or with status 5 when the request offers less room.
class CReplyingProduct {
  public:
    CReplyingProduct(std::size_t capacityField, Bytes bytes)
        : capacityField_(capacityField), bytes_(std::move(bytes)), tooSmall_(Header(5)) {}
    PortReply operator()(const PortRequest& request) const {
        const auto capacity =
            Kyr::Base::LoadLittleEndian<std::uint32_t>(request.message + capacityField_);
        const Bytes& bytes = bytes_.size() <= capacity ? bytes_ : tooSmall_;
        const std::size_t size = capacity == 0 ? 0 : bytes.size();
        PortReply reply = {{}, sizeof reply.head, bytes.data(), size};
        StoreLittleEndian(reply.head + 4, static_cast<std::uint32_t>(size));
        return reply;
    }

  private:
    const std::size_t capacityField_;
    const Bytes bytes_;
    const Bytes tooSmall_;
};

struct AlpcTraits {
    static std::unique_ptr<IKelcommClient> Client() {
        auto client = std::make_unique<CKelcommAlpcClient>();
        client->Initialize(kKelcommClientId, kKelcommServerId, kKelcommNoOptions);
        return client;
    }
    static void Serve(const Bytes& bytes, int ready) {
        ServePort<CAlpcPortServer>(AlpcPortName(kKelcommClientId, kKelcommServerId).data(),
                                   CReplyingProduct(Alpc::kReplyCapacity, bytes), ready);
    }
};

struct LpcTraits {
    static std::unique_ptr<IKelcommClient> Client() { return CreateKelcommClientNt(); }
    static void Serve(const Bytes& bytes, int ready) {
        ServePort<CLpcPortServer>(
            LpcPortName(kKelcommClientId, kKelcommServerId).data(),
            CReplyingProduct(CKelcommStructsNt<std::uintptr_t>::kReplyCapacity, bytes), ready);
    }
};

template <typename Port>
void Client(benchmark::State& state) {
    const auto size = static_cast<std::uint32_t>(state.range(0));
    const Bytes bytes(size, 'x');
    const CServerProcess server(static_cast<int>(state.range(1)),
                                [&](int ready) { Port::Serve(bytes, ready); });
    const auto client = Port::Client();
    const Bytes request(kRequestSize, 'r');
    Bytes reply(size);
    std::uint32_t length = 0;
    Measure(state, server, [&] {
        Require(client->Request(0, kCommand, request.data(), kRequestSize, reply.data(), size,
                                &length, 0) == 0,
                "request");
        benchmark::DoNotOptimize(reply.data());
    });
    Require(length == size && reply == bytes, "reply");
    client->Close();
}

/// What a channel's server answers for this benchmark: a header, and bytes up to the size.
Bytes ChannelReply(const benchmark::State& state) {
    Bytes bytes = Header(0);
    bytes.resize(std::max(kHeaderSize, static_cast<std::size_t>(state.range(0))), 'x');
    return bytes;
}

/// CKelcommChannel::SendRequest into a buffer that offers the whole reply's size at once.
template <typename Port>
void Channel(benchmark::State& state) {
    const Bytes bytes = ChannelReply(state);
    const CServerProcess server(static_cast<int>(state.range(1)),
                                [&](int ready) { Port::Serve(bytes, ready); });
    CKelcommChannel channel(0, 0);
    std::string errors;
    Require(channel.Ping(errors), "ping");
    KelcommChannelBuffer request;
    request.Resize(kRequestSize);
    KelcommChannelBuffer reply;
    Measure(state, server, [&] {
        reply.Resize(bytes.size());
        channel.SendRequest(request, reply);
    });
    Require(reply.GetBytes() == bytes, "reply");
}

/// COvAgentChannel::Send, as the module uses it: offers 64 KiB and doubles that until it suffices.
template <typename Port>
void AgentChannel(benchmark::State& state) {
    const Bytes bytes = ChannelReply(state);
    const CServerProcess server(static_cast<int>(state.range(1)),
                                [&](int ready) { Port::Serve(bytes, ready); });
    Kyr::Connectors::OvAgentConnector::COvAgentChannel channel(0, 0);
    const auto receiver = boost::make_shared<CFakeReceiver>();
    receiver->recording = false;
    std::size_t size = 0;
    receiver->onReply = [&size](const auto& reply) { size = reply.size(); };
    channel.SetBufferReceiver(receiver);
    channel.Start();
    const std::vector<unsigned char> request(kRequestSize, 'r');
    Measure(state, server, [&] { channel.Send(request); });
    Require(size == bytes.size(), "reply");
}

template <typename Function>
void Register(const char* name, Function function) {
    benchmark::RegisterBenchmark(name, function)
        ->ArgNames({"reply", "cores"})
        ->ArgsProduct(kCases)
        ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    RegisterFloor();
    Register("AlpcClient", Client<AlpcTraits>);
    Register("LpcClient", Client<LpcTraits>);
    Register("AlpcChannel", Channel<AlpcTraits>);
    Register("LpcChannel", Channel<LpcTraits>);
    Register("AlpcAgentChannel", AgentChannel<AlpcTraits>);
    Register("LpcAgentChannel", AgentChannel<LpcTraits>);
    return Run(argc, argv);
}
