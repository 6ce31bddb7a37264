// The host's log: how old it is, and the problems in it that nothing has mended since.
//
// The log is that of lab/devhost. Lines are recognised by the texts of the connector; none is
// shown, since a line may hold what the server or the product sent. Threads: one. Errors: none.
#pragma once

#include <chrono>
#include <string>

#include "probe/doctor/Check.h"

namespace Kyr::Probe {

/// `now`: of the clock of this machine that stamps are of.
void CheckLog(const std::string& path, std::chrono::nanoseconds now, Checks& checks);

}  // namespace Kyr::Probe
