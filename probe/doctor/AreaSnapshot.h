// The product's broadcast area as it is now: all its bytes, and the state of its mutex. The
// library's own reader gives single values and refuses an area that is not as it should be.
//
// Threads: one. Errors: none; what is missing stands in the value.
#pragma once

#include <chrono>
#include <string>

#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Probe {

enum class MutexState {
    kAbsent,
    kFree,
    kHeld,       // for as long as was waited
    kAbandoned,  // who held it has died; whoever takes it next mends that
    kUnknown,    // it cannot be waited for
};

struct AreaSnapshot {
    MutexState mutex = MutexState::kAbsent;
    bool hasSection = false;
    /// The section's bytes, whole pages of them where the system counts so; empty: not mapped.
    std::string image;
};

/// Takes the mutex, for at most `patience`, reads, and gives it back. Reads also without it.
AreaSnapshot TakeAreaSnapshot(const Connectors::Common::Kelcomm::Native::NativeFunctions& native,
                              std::chrono::milliseconds patience);

}  // namespace Kyr::Probe
