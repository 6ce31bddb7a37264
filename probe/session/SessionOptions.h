// How a person wants the product to be spoken to.
//
// A value.
#pragma once

#include <chrono>

#include "probe/session/TimeLimit.h"

namespace Kyr::Probe {

struct SessionOptions {
    /// For each exchange.
    std::chrono::milliseconds timeLimit{5000};
    /// Ports of the layer in this program instead of the system's, where there are two kinds.
    bool portLayer = false;
    Progress progress;
};

}  // namespace Kyr::Probe
