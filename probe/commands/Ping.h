// `ping`: whether the product answers, on each of its ports, and how fast.
//
// Threads: one. Errors: none.
#pragma once

#include "probe/session/SessionOptions.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

Report PingBothPorts(const SessionOptions& options);

}  // namespace Kyr::Probe
