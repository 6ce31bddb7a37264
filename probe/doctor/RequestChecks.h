// Whether the product serves what the connector asks it for. Nothing is taken away.
//
// Threads: one. Errors: none.
#pragma once

#include "probe/doctor/Check.h"
#include "probe/session/Registration.h"
#include "probe/session/SessionOptions.h"

namespace Kyr::Probe {

/// Asked for is what the connector asks this host's product for: records as of the registered
/// build, actions unless the host's policy switches them off, all at the stored positions.
void CheckRequests(const SessionOptions& options, const Registration& registration,
                   const StoredValues& stored, Checks& checks);

}  // namespace Kyr::Probe
