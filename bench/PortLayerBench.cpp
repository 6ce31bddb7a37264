// Round trips through the port layer's native functions, side by side with the same bytes in bare
// packets. Names tell the size of the reply; requests carry 64 bytes.
#include <cstring>

#include "bench/PortBench.h"
#include "portlayer/ClientFunctions.h"

namespace {

using namespace Kyr::Bench;
using namespace Kyr::NtApi;
using namespace Kyr::PortLayer;

const std::u16string kName = u"\\BaseNamedObjects\\Bench";

/// Answers every request with so many bytes.
Answer Always(const std::vector<std::uint8_t>& bytes) {
    return [&bytes](const std::uint8_t*) { return PortReply{{}, 0, bytes.data(), bytes.size()}; };
}

void PutLengths(std::uint8_t* message, std::size_t header, std::size_t data) {
    const std::uint16_t lengths[] = {static_cast<std::uint16_t>(data),
                                     static_cast<std::uint16_t>(header + data)};
    std::memcpy(message, lengths, sizeof lengths);
}

/// A request of 64 bytes that ends in a data-information block with the reply's memory.
void BuildLpcRequest(std::uint8_t* request, std::vector<std::uint8_t>& reply) {
    constexpr std::size_t kBlock = LpcLayout::kDataEntries + 2 * LpcLayout::kDataEntrySize;
    constexpr std::size_t kOffset = LpcLayout::kHeaderSize + kRequestSize - kBlock;
    PutLengths(request, LpcLayout::kHeaderSize, kRequestSize);
    const std::uint16_t offset = kOffset;
    std::memcpy(request + kDataInfoOffset, &offset, sizeof offset);
    const std::uint32_t count = 2;
    std::memcpy(request + kOffset, &count, sizeof count);
    std::uint8_t* const entry =
        request + kOffset + LpcLayout::kDataEntries + LpcLayout::kDataEntrySize;
    const void* const base = reply.data();
    const auto size = static_cast<std::uint32_t>(reply.size());
    std::memcpy(entry, &base, sizeof base);
    std::memcpy(entry + LpcLayout::kDataEntryLength, &size, sizeof size);
}

void LegacyPort(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const std::vector<std::uint8_t> bytes(size, 'x');
    const CServerProcess server(static_cast<int>(state.range(1)),
                                [&](int ready) { ServeLpc(kName, Always(bytes), ready); });
    UnicodeString name;
    RtlInitUnicodeString(&name, kName.c_str());
    Handle port = nullptr;
    Require(NtConnectPort(&port, &name, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) == 0,
            "connect");
    std::vector<std::uint8_t> memory(size);
    std::uint8_t request[LpcLayout::kMaxMessage] = {};
    BuildLpcRequest(request, memory);
    std::uint8_t reply[LpcLayout::kMaxMessage] = {};
    Measure(state, server, [&] {
        Require(NtRequestWaitReplyPort(port, request, reply) == 0, "request");
        if (size != 0 && size <= LpcLayout::kMaxMessage - LpcLayout::kHeaderSize) {
            std::memcpy(memory.data(), reply + LpcLayout::kHeaderSize, size);
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
    const std::vector<std::uint8_t> bytes(size, 'x');
    const CServerProcess server(static_cast<int>(state.range(1)),
                                [&](int ready) { ServeAlpc(kName, Always(bytes), ready); });
    UnicodeString name;
    RtlInitUnicodeString(&name, kName.c_str());
    Handle port = nullptr;
    Require(NtAlpcConnectPort(&port, &name, nullptr, nullptr, kAlpcSynchronous, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr) == 0,
            "connect");
    std::vector<std::uint8_t> memory(size);
    std::vector<std::uint8_t> reply(kAlpcMaxMessage);
    std::uint8_t request[kHeader + kRequestSize] = {};
    PutLengths(request, kHeader, kRequestSize);
    Measure(state, server, [&] {
        ViewAttributes received;
        std::size_t length = reply.size();
        Require(NtAlpcSendWaitReceivePort(port, kAlpcSynchronous, request, nullptr, reply.data(),
                                          &length, &received.head, nullptr) == 0,
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
