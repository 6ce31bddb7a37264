// Round trips through the port layer's native functions, side by side with the same bytes in bare
// packets. Names tell the size of the reply; requests carry 64 bytes.
#include <cstring>

#include "bench/PortBench.h"
#include "portlayer/ClientFunctions.h"
#include "tests/support/product/PortMessages.h"

namespace {

using namespace Kyr::Bench;
using namespace Kyr::NtApi;
using namespace Kyr::PortLayer;
using namespace Kyr::Test;

const std::u16string kName = u"\\BaseNamedObjects\\Bench";

/// Answers every request with so many bytes.
PortAnswer Always(const Bytes& bytes) {
    return [&bytes](const auto&) { return PortReply{{}, 0, bytes.data(), bytes.size()}; };
}

/// A request of 64 bytes that ends in a data-information block with the reply's memory.
Bytes LpcRequest(Bytes& reply) {
    return LpcMessageWithEntries(
        {{nullptr, 0}, {reply.data(), static_cast<std::uint32_t>(reply.size())}},
        kRequestSize - LpcLayout::kDataEntries - 2 * LpcLayout::kDataEntrySize);
}

void LegacyPort(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const Bytes bytes(size, 'x');
    const CServerProcess server(static_cast<int>(state.range(1)), [&](int ready) {
        ServePort<CLpcPortServer>(kName, Always(bytes), ready);
    });
    UnicodeString name;
    RtlInitUnicodeString(&name, kName.c_str());
    Handle port = nullptr;
    Require(NtConnectPort(&port, &name, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) == 0,
            "connect");
    Bytes memory(size);
    Bytes request = LpcRequest(memory);
    Bytes reply(LpcLayout::kMaxMessage);
    Measure(state, server, [&] {
        Require(NtRequestWaitReplyPort(port, request.data(), reply.data()) == 0, "request");
        if (size != 0 && size <= LpcLayout::kMaxMessage - LpcLayout::kHeaderSize) {
            std::memcpy(memory.data(), reply.data() + LpcLayout::kHeaderSize, size);
        }
        benchmark::DoNotOptimize(memory.data());
    });
    Require(memory == bytes, "reply");
    CloseHandle(port);
}

struct ViewAttributes {
    AlpcMessageAttributes head = {kAlpcMessageViewAttribute, 0};
    AlpcDataViewAttr view = {};
};

void AdvancedPort(benchmark::State& state) {
    constexpr std::size_t kHeader = AlpcLayout::kHeaderSize;
    const auto size = static_cast<std::size_t>(state.range(0));
    const Bytes bytes(size, 'x');
    const CServerProcess server(static_cast<int>(state.range(1)), [&](int ready) {
        ServePort<CAlpcPortServer>(kName, Always(bytes), ready);
    });
    UnicodeString name;
    RtlInitUnicodeString(&name, kName.c_str());
    Handle port = nullptr;
    Require(NtAlpcConnectPort(&port, &name, nullptr, nullptr, kAlpcSynchronous, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr) == 0,
            "connect");
    Bytes memory(size);
    Bytes reply(kAlpcMaxMessage);
    Bytes request = Message(kHeader, Bytes(kRequestSize), kHeader + kRequestSize);
    Measure(state, server, [&] {
        ViewAttributes received;
        std::size_t length = reply.size();
        Require(NtAlpcSendWaitReceivePort(port, kAlpcSynchronous, request.data(), nullptr,
                                          reply.data(), &length, &received.head, nullptr) == 0,
                "request");
        const bool inView = received.head.ValidAttributes != 0;
        if (size != 0) {
            std::memcpy(memory.data(), inView ? received.view.ViewBase : reply.data() + kHeader,
                        size);
        }
        if (inView) {
            received.view.Flags |= kAlpcViewUnmapExisting;
            NtAlpcSendWaitReceivePort(port, kAlpcReleaseMessage, reply.data(), &received.head,
                                      nullptr, nullptr, nullptr, nullptr);
        }
        benchmark::DoNotOptimize(memory.data());
    });
    Require(memory == bytes, "reply");
    CloseHandle(port);
}

BENCHMARK(LegacyPort)->ArgNames({"reply", "cores"})->ArgsProduct(kCases)->UseRealTime();
BENCHMARK(AdvancedPort)->ArgNames({"reply", "cores"})->ArgsProduct(kCases)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    RegisterFloor();
    return Run(argc, argv);
}
