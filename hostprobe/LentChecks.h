// The points of what the host lends beside its bus: the levels of its log, and both mappers of its
// database.
//
// Threads: the probe's.
// Errors: none; what the host throws becomes a point that is wrong.
#pragma once

#include "hostprobe/Report.h"
#include "hostprobe/Resources.h"

namespace Kyr::HostProbe {

/// One line of each level, which a person looks for in the log.
void CheckLog(Common::Kernel::ILoggerResource& log, CReport& report);

/// A value under the key "HOST_PROBE", written, read again, and emptied.
void CheckKeyValues(Common::Database::IKeyValueAccessMapper& mapper, CReport& report);

/// A batch without actions: one with actions would be carried out by somebody.
void CheckActions(Common::Database::IOvRemediationActionsMapper& mapper, CReport& report);

}  // namespace Kyr::HostProbe
