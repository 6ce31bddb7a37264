// Both ports: who serves them, and whether they answer.
//
// Threads: one. Errors: none.
#pragma once

#include "probe/doctor/Check.h"
#include "probe/session/SessionOptions.h"

namespace Kyr::Probe {

struct ProductPresence {
    bool isThere = false;  // somebody serves a port
    bool answers = false;
};

ProductPresence CheckPorts(const SessionOptions& options, Checks& checks);

}  // namespace Kyr::Probe
