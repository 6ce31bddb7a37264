// What the host keeps for the connector: positions of records, and the keys that a policy sets.
//
// Read are the forms of probe/doctor/KeyValues.h. Values are judged, not shown.
// Threads: one. Errors: none.
#pragma once

#include <string>

#include "probe/doctor/Check.h"

namespace Kyr::Probe {

StoredValues CheckDatabase(const std::string& path, Checks& checks);

}  // namespace Kyr::Probe
