// The host's log: how old it is, and what is wrong at its end by the story that it tells
// (probe/explain). Read is the end of it: what matters to a check is there.
//
// No line is shown, since it may hold what the server or the product sent. Threads: one.
// Errors: none.
#pragma once

#include <chrono>
#include <string>

#include "probe/doctor/Check.h"

namespace Kyr::Probe {

/// `now`: of the clock of this machine that stamps are of.
void CheckLog(const std::string& path, std::chrono::nanoseconds now, Checks& checks);

}  // namespace Kyr::Probe
