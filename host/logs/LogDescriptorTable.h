// The content of the process-wide descriptor map: one table for all logs of this system.
#pragma once

#include <vector>

#include "host/logs/LogDescriptor.h"
#include "host/logs/LogMessageDescriptor.h"

namespace Kyr::Common::Logs {

std::vector<CLogMessageDescriptor> LogMessageTable();
std::vector<CLogDescriptor> LogTable();

}  // namespace Kyr::Common::Logs
