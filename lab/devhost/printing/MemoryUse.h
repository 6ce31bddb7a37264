// How much memory this process uses, as its system counts it.
//
// Threads: any. Errors: std::runtime_error when the system does not tell.
#pragma once

#include <cstdint>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::DevHost {

struct MemoryUse {
    std::uint64_t privateBytes;   // that no other process can share: what the process costs
    std::uint64_t residentBytes;  // in memory at this moment, shared pages included
};

MemoryUse ReadMemoryUse();

/// The event `memory`, in KiB; `when` says at what moment.
inline CLine MemoryLine(const char* when) {
    const MemoryUse use = ReadMemoryUse();
    return CLine("memory")
        .With("when", when)
        .With("private", use.privateBytes / 1024)
        .With("resident", use.residentBytes / 1024);
}

}  // namespace Kyr::Lab::DevHost
