// What every benchmark program begins with: a heap that stays as it is, and Google Benchmark's
// options.
//
// The C library's heap gives memory back at its end, and takes large blocks from the system, by
// rules that depend on what was freed before. The same benchmark then runs in one of several
// states, up to a third apart. Here it does neither, so that a ratio is one number. With
// --heap=system it is left to itself, as it is in a host.
#pragma once

namespace Kyr::Bench {

/// Runs the benchmarks that the options ask for; returns what main returns. Before any other thread
/// is there.
int RunBenchmarks(int argc, char** argv);

}  // namespace Kyr::Bench
