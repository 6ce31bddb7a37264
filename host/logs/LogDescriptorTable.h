// The content of the process-wide descriptor map: one table for all logs of this system.
//
// Threads: any; each call makes a new table. Errors: none.
#pragma once

#include <vector>

#include "host/logs/LogDescriptor.h"
#include "host/logs/LogMessageDescriptor.h"

namespace Kyr::Common::Logs {

/// Which message types are logs, and of which log type each is the event or the status.
std::vector<CLogMessageDescriptor> LogMessageTable();
/// What the rows of each log type may and must carry.
std::vector<CLogDescriptor> LogTable();

}  // namespace Kyr::Common::Logs
