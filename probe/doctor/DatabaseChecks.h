// What the host keeps for the connector: positions of records, and the keys that a policy sets.
//
// The database is that of lab/devhost, opened for reading only. Values are judged, not shown.
// Threads: one. Errors: none.
#pragma once

#include <string>

#include "probe/doctor/Check.h"

namespace Kyr::Probe {

StoredPositions CheckDatabase(const std::string& path, Checks& checks);

}  // namespace Kyr::Probe
