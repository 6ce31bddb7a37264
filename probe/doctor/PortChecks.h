// Both ports: who serves them, and whether they answer.
//
// Threads: one. Errors: none.
#pragma once

#include "probe/doctor/Check.h"
#include "probe/session/SessionOptions.h"

namespace Kyr::Probe {

/// True when the product answers on one of them.
bool CheckPorts(const SessionOptions& options, Checks& checks);

}  // namespace Kyr::Probe
