// The points of the process: whether host and module share what they must share.
//
// Threads: any. Errors: none.
#pragma once

#include "hostprobe/Report.h"

namespace Kyr::HostProbe {

/// One protobuf runtime, one C++ runtime, one library of the host, and exceptions that cross.
void CheckProcess(CReport& report);

}  // namespace Kyr::HostProbe
