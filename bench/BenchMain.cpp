#include "bench/BenchMain.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <string>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace Kyr::Bench {

namespace {

#ifdef __GLIBC__
constexpr int kLargestBlockOfHeap = 32 << 20;  // the most that glibc takes
constexpr int kNeverTrimmed = 1 << 30;

void KeepHeap() {
    // One arena: another one's memory goes back to the system by rules that no option changes.
    ::mallopt(M_ARENA_MAX, 1);
    ::mallopt(M_MMAP_THRESHOLD, kLargestBlockOfHeap);
    ::mallopt(M_TRIM_THRESHOLD, kNeverTrimmed);
}
#else
void KeepHeap() {}
#endif

}  // namespace

int RunBenchmarks(int argc, char** argv) {
    char** const end = argv + argc;
    if (std::find(argv, end, std::string("--heap=system")) == end) {
        KeepHeap();
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

}  // namespace Kyr::Bench
