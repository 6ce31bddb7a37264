// The lines of a host's log as events of a life: whose doing each is, how much it weighs, and what
// it means.
//
// Threads: any. Errors: none.
#pragma once

#include <cstddef>
#include <vector>

#include "lifepage/Life.h"
#include "probe/explain/HostLog.h"
#include "probe/explain/life/LogMoments.h"

namespace Kyr::Probe {

/// Lines of one host process, as far as a log tells processes apart: by the connector's starts.
struct HostRun {
    std::size_t begin = 0;
    std::size_t end = 0;           // one behind
    bool looksForProduct = false;  // begins with a start of a connector that is active
};

/// Puts one event a line into the life, and one process a run, in whose order they come back. The
/// first run may have begun before the log.
std::vector<HostRun> TellLogEvents(const HostLog& log, const LogMoments& moments,
                                   LifePage::Life& life);

}  // namespace Kyr::Probe
