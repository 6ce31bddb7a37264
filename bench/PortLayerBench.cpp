// Round trips through the port layer, side by side with the same bytes in bare packets.
//
// The server is a second process. With cores:1 both ends share one core; with cores:2 each has its
// own, and a spinning thread of the lowest priority keeps both awake, as waking a halted core would
// hide everything else. Names tell the size of the reply; requests are empty.
#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <cstring>
#include <filesystem>
#include <functional>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <stdexcept>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"

namespace {

using namespace Kyr::NtApi;
using namespace Kyr::PortLayer;

using LpcLayout =
    PortMessageLayout<std::conditional_t<sizeof(void*) == 8, std::uint64_t, std::uint32_t>>;

// Packets of this size fit the default send buffer of a socket.
constexpr std::size_t kLargestPacket = 192 * 1024;
constexpr std::size_t kLargestInline = 0xFFCF;

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

void PinTo(int core) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(core, &set);
    Require(::sched_setaffinity(0, sizeof set, &set) == 0, "sched_setaffinity");
}

/// Spins on every core with the scheduling class that runs only when nothing else does.
class CCoreWarmer {
  public:
    explicit CCoreWarmer(bool needed) {
        for (int core = 0; needed && core < 2; ++core) {
            threads_.emplace_back([this, core] {
                PinTo(core);
                sched_param none = {};
                ::pthread_setschedparam(::pthread_self(), SCHED_IDLE, &none);
                while (!stop_.load(std::memory_order_relaxed)) {
                }
            });
        }
    }
    ~CCoreWarmer() {
        stop_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

  private:
    std::atomic<bool> stop_{false};
    std::vector<std::thread> threads_;
};

/// The other process, pinned to the second core when there are two.
class CServerProcess {
  public:
    CServerProcess(int cores, const std::function<void(int ready)>& serve) {
        int ready[2];
        Require(::pipe(ready) == 0, "pipe");
        id_ = ::fork();
        if (id_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            PinTo(cores - 1);
            serve(ready[1]);
            ::_exit(0);
        }
        PinTo(0);
        char byte = 0;
        Require(::read(ready[0], &byte, 1) == 1, "server did not start");
        ::close(ready[0]);
        ::close(ready[1]);
    }
    ~CServerProcess() {
        ::kill(id_, SIGKILL);
        ::waitpid(id_, nullptr, 0);
    }
    static void Ready(int ready) { Require(::write(ready, "r", 1) == 1, "write"); }

  private:
    pid_t id_;
};

UnicodeString Name() {
    UnicodeString name;
    RtlInitUnicodeString(&name, u"\\BaseNamedObjects\\Bench");
    return name;
}

void PutLengths(std::uint8_t* message, std::size_t header, std::size_t data) {
    const std::uint16_t lengths[] = {static_cast<std::uint16_t>(data),
                                     static_cast<std::uint16_t>(header + data)};
    std::memcpy(message, lengths, sizeof lengths);
}

std::uint16_t KindOf(const std::uint8_t* message) {
    std::uint16_t type = 0;
    std::memcpy(&type, message + kTypeOffset, sizeof type);
    return type & kMessageKindMask;
}

void ServePackets(int socket, std::size_t size) {
    std::vector<char> bytes(std::max<std::size_t>(size, 64), 'x');
    while (::recv(socket, bytes.data(), 64, 0) > 0) {
        std::size_t left = std::max<std::size_t>(size, 1);
        while (left != 0) {
            const std::size_t part = std::min(left, kLargestPacket);
            Require(::send(socket, bytes.data(), part, MSG_NOSIGNAL) > 0, "send");
            left -= part;
        }
    }
}

void BarePackets(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const CCoreWarmer warmer(state.range(1) == 2);
    int ends[2];
    Require(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) == 0, "socketpair");
    const CServerProcess server(static_cast<int>(state.range(1)), [&](int ready) {
        ::close(ends[0]);
        CServerProcess::Ready(ready);
        ServePackets(ends[1], size);
    });
    ::close(ends[1]);
    std::vector<char> reply(std::max<std::size_t>(size, 64));
    for (auto _ : state) {
        char request[64] = {};
        Require(::send(ends[0], request, sizeof request, MSG_NOSIGNAL) > 0, "send");
        std::size_t got = 0;
        while (got < std::max<std::size_t>(size, 1)) {
            const ssize_t part = ::recv(ends[0], reply.data() + got, reply.size() - got, 0);
            Require(part > 0, "recv");
            got += static_cast<std::size_t>(part);
        }
        benchmark::DoNotOptimize(reply.data());
    }
    ::close(ends[0]);
}

void Copy(benchmark::State& state) {
    std::vector<char> from(static_cast<std::size_t>(state.range(0)), 'x');
    std::vector<char> to(from.size());
    PinTo(0);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), from.size());
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}

void AcceptLpc(Handle&, std::uint8_t* message) {
    Handle client = nullptr;
    Require(NtAcceptConnectPort(&client, nullptr, message, 1, nullptr, nullptr) == 0, "accept");
    Require(NtCompleteConnectPort(client) == 0, "complete");
}

/// Answers every request with `size` bytes: inside the message, or written to data entry 1.
void ServeLpc(int ready, std::size_t size) {
    UnicodeString name = Name();
    ObjectAttributes attributes = {sizeof attributes, nullptr, &name, 0, nullptr, nullptr};
    Handle port = nullptr;
    Require(NtCreatePort(&port, &attributes, 0, LpcLayout::kMaxMessage, 0) == 0, "create");
    CServerProcess::Ready(ready);
    std::vector<std::uint8_t> bytes(size, 'x');
    std::uint8_t message[LpcLayout::kMaxMessage];
    void* reply = nullptr;
    while (NtReplyWaitReceivePort(port, nullptr, reply, message) == 0) {
        reply = nullptr;
        if (KindOf(message) == kLpcConnectionRequest) {
            AcceptLpc(port, message);
        } else if (KindOf(message) == kLpcRequest) {
            const bool fits = size <= LpcLayout::kMaxMessage - LpcLayout::kHeaderSize;
            if (fits) {
                std::memcpy(message + LpcLayout::kHeaderSize, bytes.data(), size);
            } else {
                Require(NtWriteRequestData(port, message, 1, bytes.data(), size, nullptr) == 0,
                        "write");
            }
            const std::uint16_t noBlock = 0;
            std::memcpy(message + kDataInfoOffset, &noBlock, sizeof noBlock);
            PutLengths(message, LpcLayout::kHeaderSize, fits ? size : 0);
            reply = message;
        }
    }
}

void PutBlock(std::uint8_t* request, std::vector<std::uint8_t>& reply) {
    PutLengths(request, LpcLayout::kHeaderSize,
               LpcLayout::kDataEntries + 2 * LpcLayout::kDataEntrySize);
    const std::uint16_t offset = LpcLayout::kHeaderSize;
    std::memcpy(request + kDataInfoOffset, &offset, sizeof offset);
    const std::uint32_t count = 2;
    std::memcpy(request + offset, &count, sizeof count);
    std::uint8_t* const entry =
        request + offset + LpcLayout::kDataEntries + LpcLayout::kDataEntrySize;
    const void* const base = reply.data();
    const auto size = static_cast<std::uint32_t>(reply.size());
    std::memcpy(entry, &base, sizeof base);
    std::memcpy(entry + LpcLayout::kDataEntryLength, &size, sizeof size);
}

void LegacyPort(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const CCoreWarmer warmer(state.range(1) == 2);
    const CServerProcess server(static_cast<int>(state.range(1)),
                                [size](int ready) { ServeLpc(ready, size); });
    UnicodeString name = Name();
    Handle port = nullptr;
    Require(NtConnectPort(&port, &name, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) == 0,
            "connect");
    std::vector<std::uint8_t> memory(std::max<std::size_t>(size, 1));
    std::uint8_t request[LpcLayout::kMaxMessage] = {};
    PutBlock(request, memory);
    std::uint8_t reply[LpcLayout::kMaxMessage] = {};
    for (auto _ : state) {
        Require(NtRequestWaitReplyPort(port, request, reply) == 0, "request");
        if (size <= LpcLayout::kMaxMessage - LpcLayout::kHeaderSize) {
            std::memcpy(memory.data(), reply + LpcLayout::kHeaderSize, size);
        }
        benchmark::DoNotOptimize(memory.data());
    }
    Require(size == 0 || memory[size - 1] == 'x', "reply");
    CloseHandle(port);
}

struct CViewAttributes {
    AlpcMessageAttributes head = {kAlpcMessageViewAttribute, 0};
    AlpcDataViewAttr view = {};
};

void ReplyAlpc(Handle port, Handle client, std::uint8_t* message,
               const std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kHeader = 24;
    if (bytes.size() <= kLargestInline) {
        std::memcpy(message + kHeader, bytes.data(), bytes.size());
        PutLengths(message, kHeader, bytes.size());
        Require(NtAlpcSendWaitReceivePort(port, kAlpcReleaseMessage, message, nullptr, nullptr,
                                          nullptr, nullptr, nullptr) == 0,
                "reply");
        return;
    }
    CViewAttributes sent;
    AlpcDataViewAttr view = {};
    std::size_t actual = 0;
    Require(NtAlpcCreatePortSection(client, kAlpcPortSectionSecure, nullptr, bytes.size(),
                                    &view.SectionHandle, &actual) == 0,
            "section");
    view.ViewSize = bytes.size();
    Require(NtAlpcCreateSectionView(client, 0, &view) == 0, "view");
    std::memcpy(view.ViewBase, bytes.data(), bytes.size());
    view.Flags = kAlpcViewSecured | kAlpcViewAutoRelease;
    sent.view = view;
    sent.head.ValidAttributes = kAlpcMessageViewAttribute;
    PutLengths(message, kHeader, 0);
    Require(NtAlpcSendWaitReceivePort(port, kAlpcReleaseMessage, message, &sent.head, nullptr,
                                      nullptr, nullptr, nullptr) == 0,
            "reply");
    NtAlpcDeletePortSection(client, 0, view.SectionHandle);
}

void ServeAlpc(int ready, std::size_t size) {
    UnicodeString name = Name();
    ObjectAttributes attributes = {sizeof attributes, nullptr, &name, 0, nullptr, nullptr};
    Handle port = nullptr;
    Require(NtAlpcCreatePort(&port, &attributes, nullptr) == 0, "create");
    CServerProcess::Ready(ready);
    const std::vector<std::uint8_t> bytes(size, 'x');
    std::vector<std::uint8_t> message(kAlpcMaxMessage);
    Handle client = nullptr;
    for (;;) {
        std::size_t length = message.size();
        Require(NtAlpcSendWaitReceivePort(port, 0, nullptr, nullptr, message.data(), &length,
                                          nullptr, nullptr) == 0,
                "receive");
        if (KindOf(message.data()) == kLpcConnectionRequest) {
            Require(NtAlpcAcceptConnectPort(&client, port, 0, nullptr, nullptr, nullptr,
                                            message.data(), nullptr, 1) == 0,
                    "accept");
        } else if (KindOf(message.data()) == kLpcRequest) {
            ReplyAlpc(port, client, message.data(), bytes);
        }
    }
}

void AdvancedPort(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const CCoreWarmer warmer(state.range(1) == 2);
    const CServerProcess server(static_cast<int>(state.range(1)),
                                [size](int ready) { ServeAlpc(ready, size); });
    UnicodeString name = Name();
    Handle port = nullptr;
    Require(NtAlpcConnectPort(&port, &name, nullptr, nullptr, kAlpcSynchronous, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr) == 0,
            "connect");
    std::vector<std::uint8_t> memory(std::max<std::size_t>(size, 1));
    std::vector<std::uint8_t> reply(kAlpcMaxMessage);
    std::uint8_t request[24] = {};
    PutLengths(request, 24, 0);
    for (auto _ : state) {
        CViewAttributes received;
        std::size_t length = reply.size();
        Require(NtAlpcSendWaitReceivePort(port, kAlpcSynchronous, request, nullptr, reply.data(),
                                          &length, &received.head, nullptr) == 0,
                "request");
        const bool inView = received.head.ValidAttributes != 0;
        std::memcpy(memory.data(), inView ? received.view.ViewBase : reply.data() + 24, size);
        if (inView) {
            received.view.Flags |= kAlpcViewUnmapExisting;
            NtAlpcSendWaitReceivePort(port, kAlpcReleaseMessage, reply.data(), &received.head,
                                      nullptr, nullptr, nullptr, nullptr);
        }
        benchmark::DoNotOptimize(memory.data());
    }
    Require(size == 0 || memory[size - 1] == 'x', "reply");
    CloseHandle(port);
}

const std::vector<std::vector<std::int64_t>> kCases = {{0, 64, 4096, 65536, 1 << 20, 16 << 20},
                                                       {1, 2}};

BENCHMARK(BarePackets)->ArgNames({"reply", "cores"})->ArgsProduct(kCases)->UseRealTime();
BENCHMARK(LegacyPort)->ArgNames({"reply", "cores"})->ArgsProduct(kCases)->UseRealTime();
BENCHMARK(AdvancedPort)->ArgNames({"reply", "cores"})->ArgsProduct(kCases)->UseRealTime();
BENCHMARK(Copy)->ArgName("bytes")->Arg(4096)->Arg(65536)->Arg(1 << 20)->Arg(16 << 20);

}  // namespace

int main(int argc, char** argv) {
    char directory[] = "/tmp/portlayer-bench-XXXXXX";
    if (::mkdtemp(directory) == nullptr) {
        return 1;
    }
    ::setenv("KELCOMM_RUNTIME_DIR", directory, 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(directory);
    return 0;
}
