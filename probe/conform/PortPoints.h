// What a product must do on one port, whatever it is asked there.
//
// Threads: one. Errors: none; a point that is otherwise is a check that is not fine.
#pragma once

#include "probe/doctor/Check.h"
#include "probe/session/PortTrace.h"
#include "probe/session/SessionOptions.h"

namespace Kyr::Probe {

/// REQUIRES: the port answers a ping.
void TryPort(Port port, const SessionOptions& options, Checks& points);

}  // namespace Kyr::Probe
