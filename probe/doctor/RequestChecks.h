// Whether the product serves what the connector asks it for. Nothing is taken away.
//
// Threads: one. Errors: none.
#pragma once

#include "probe/doctor/Check.h"
#include "probe/session/Registration.h"
#include "probe/session/SessionOptions.h"

namespace Kyr::Probe {

/// Records are asked for at the stored positions.
void CheckRequests(const SessionOptions& options, const Registration& registration,
                   const StoredPositions& positions, Checks& checks);

}  // namespace Kyr::Probe
