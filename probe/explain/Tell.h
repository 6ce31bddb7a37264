// Puts a host's log together into a story.
//
// Threads: any. Errors: none.
#pragma once

#include "probe/explain/HostLog.h"
#include "probe/explain/Story.h"

namespace Kyr::Probe {

Story Tell(const HostLog& log);

}  // namespace Kyr::Probe
