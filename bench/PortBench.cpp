#include "bench/PortBench.h"

#include <algorithm>
#include <filesystem>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <stdexcept>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "bench/BenchMain.h"

namespace Kyr::Bench {

namespace {

constexpr std::size_t kLargestPacket = 64 * 1024;
double Nanoseconds(clockid_t clock) {
    timespec time = {};
    Require(::clock_gettime(clock, &time) == 0, "clock_gettime");
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

void ServePackets(int socket, std::size_t size) {
    std::vector<char> bytes(std::max<std::size_t>(size, kRequestSize), 'x');
    while (::recv(socket, bytes.data(), kRequestSize, 0) > 0) {
        std::size_t left = std::max<std::size_t>(size, 1);
        const char* next = bytes.data();
        while (left != 0) {
            const std::size_t part = std::min(left, kLargestPacket);
            Require(::send(socket, next, part, MSG_NOSIGNAL) > 0, "send");
            next += part;
            left -= part;
        }
    }
}

}  // namespace

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

double ProcessCpuTime() {
    return Nanoseconds(CLOCK_PROCESS_CPUTIME_ID);
}

CCoreWarmer::CCoreWarmer(bool needed) {
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

CCoreWarmer::~CCoreWarmer() {
    stop_ = true;
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

CServerProcess::CServerProcess(int cores, const std::function<void(int ready)>& serve)
    : warmer_(cores == 2) {
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

CServerProcess::~CServerProcess() {
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
}

void CServerProcess::Ready(int ready) {
    Require(::write(ready, "r", 1) == 1, "write");
}

double CServerProcess::CpuTime() const {
    clockid_t clock = 0;
    Require(::clock_getcpuclockid(id_, &clock) == 0, "clock_getcpuclockid");
    return Nanoseconds(clock);
}

void Measure(benchmark::State& state, const CServerProcess& server,
             const std::function<void()>& roundTrip) {
    roundTrip();  // connects, and makes what stays for later ones
    const double start = server.CpuTime() + Nanoseconds(CLOCK_THREAD_CPUTIME_ID);
    for (auto _ : state) {
        roundTrip();
    }
    const double used = server.CpuTime() + Nanoseconds(CLOCK_THREAD_CPUTIME_ID) - start;
    state.counters["cpu_ns"] = used / static_cast<double>(state.iterations());
}

void BarePackets(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    int ends[2];
    Require(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) == 0, "socketpair");
    const CServerProcess server(static_cast<int>(state.range(1)), [&](int ready) {
        ::close(ends[0]);
        CServerProcess::Ready(ready);
        ServePackets(ends[1], size);
    });
    ::close(ends[1]);
    const char request[kRequestSize] = {};
    std::vector<char> reply(std::max<std::size_t>(size, kRequestSize));
    Measure(state, server, [&] {
        Require(::send(ends[0], request, sizeof request, MSG_NOSIGNAL) > 0, "send");
        std::size_t got = 0;
        while (got < std::max<std::size_t>(size, 1)) {
            const ssize_t part = ::recv(ends[0], reply.data() + got, reply.size() - got, 0);
            Require(part > 0, "recv");
            got += static_cast<std::size_t>(part);
        }
        benchmark::DoNotOptimize(reply.data());
    });
    ::close(ends[0]);
}

void Copy(benchmark::State& state) {
    std::vector<char> from(static_cast<std::size_t>(state.range(0)), 'x');
    std::vector<char> to(from.size());
    PinTo(0);
    for (auto _ : state) {
        std::copy(from.begin(), from.end(), to.begin());
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}

void RegisterFloor() {
    benchmark::RegisterBenchmark("BarePackets", BarePackets)
        ->ArgNames({"reply", "cores"})
        ->ArgsProduct(kCases)
        ->UseRealTime();
    benchmark::RegisterBenchmark("Copy", Copy)
        ->ArgNames({"reply"})
        ->ArgsProduct({kCases[0]})
        ->UseRealTime();
}

int Run(int argc, char** argv) {
    char directory[] = "/tmp/port-bench-XXXXXX";
    if (::mkdtemp(directory) == nullptr) {
        return 1;
    }
    ::setenv("KELCOMM_RUNTIME_DIR", directory, 1);
    const int result = RunBenchmarks(argc, argv);
    std::filesystem::remove_all(directory);
    return result;
}

}  // namespace Kyr::Bench
