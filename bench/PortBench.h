// What the benchmarks of ports share: a server in a second process, pinned cores, the clock of both
// processes, and the floor that ports are compared with.
//
// With cores:1 both ends share one core; with cores:2 each has its own, and a spinning thread of
// the lowest priority keeps both awake, as waking a halted core would hide everything else.
// Threads: a benchmark is one thread; the server is another process.
// Errors: set-up that fails throws and ends the program.
#pragma once

#include <atomic>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

#include "tests/support/product/PortServer.h"

namespace Kyr::Bench {

/// The reply sizes that every benchmark runs with, on one core and on two.
const std::vector<std::vector<std::int64_t>> kCases = {{0, 64, 4096, 65536, 1 << 20, 16 << 20},
                                                       {1, 2}};
constexpr std::size_t kRequestSize = 64;

void Require(bool condition, const char* what);
void PinTo(int core);
/// Processor time that this process has used, all its threads, in nanoseconds.
double ProcessCpuTime();

/// Spins on every core with the scheduling class that runs only when nothing else does.
class CCoreWarmer {
  public:
    explicit CCoreWarmer(bool needed);
    CCoreWarmer(const CCoreWarmer&) = delete;
    CCoreWarmer& operator=(const CCoreWarmer&) = delete;
    ~CCoreWarmer();

  private:
    std::atomic<bool> stop_{false};
    std::vector<std::thread> threads_;
};

/// The other process, pinned to the second core when there are two. Pins the caller to the first.
class CServerProcess {
  public:
    /// `serve` calls Ready as soon as clients may connect, and runs until it is killed.
    CServerProcess(int cores, const std::function<void(int ready)>& serve);
    CServerProcess(const CServerProcess&) = delete;
    CServerProcess& operator=(const CServerProcess&) = delete;
    ~CServerProcess();
    static void Ready(int ready);
    /// Processor time that it has used, in nanoseconds.
    double CpuTime() const;

  private:
    const CCoreWarmer warmer_;
    pid_t id_;
};

/// Times the round trips, and reports as "cpu_ns" the processor time of both ends for each: on a
/// busy machine that is steadier than the time that passed.
void Measure(benchmark::State& state, const CServerProcess& server,
             const std::function<void()>& roundTrip);

/// Serves the port of that name until the process is killed.
template <typename PortServer>
void ServePort(const std::u16string& name, const Test::PortAnswer& answer, int ready) {
    PortServer server(name);
    CServerProcess::Ready(ready);
    server.Serve(answer);
}

/// The same sizes as bare packets over a socket of the kind that the port layer uses: packets of
/// 64 KiB at most.
void BarePackets(benchmark::State& state);
/// Copies the same number of bytes once.
void Copy(benchmark::State& state);
/// Registers both for kCases.
void RegisterFloor();

/// Runs the registered benchmarks in a private run directory.
int Run(int argc, char** argv);

}  // namespace Kyr::Bench
