// One port by itself: who serves it, and how fast.
//
// Threads: one. Errors: none; what is wrong stands in the value.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "probe/session/NotReached.h"
#include "probe/session/PortTrace.h"
#include "probe/session/SessionOptions.h"

namespace Kyr::Probe {

struct PingFinding {
    /// How long the answer took; nothing without one. The connection is part of it.
    std::optional<std::chrono::microseconds> time;
    std::uint32_t serverProcess = 0;  // 0: not told
    std::string program;              // of that process; empty: not told
    // Without an answer.
    Cause cause = Cause::kNotAnswering;
    std::string reason;
};

PingFinding PingPort(Port port, const SessionOptions& options);

/// Why a port, or both, could not be used, by what the system answered. `code` is what the client
/// made of it.
CNotReached WhyNot(const PortTrace& trace, const std::string& what, std::uint32_t code);

}  // namespace Kyr::Probe
