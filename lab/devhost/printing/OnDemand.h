// The kinds of events that are told on demand only, since most runs are about something else.
//
// Whoever has something to tell tells it always, but for the records of a batch; what nobody asked
// for is dropped on its way out.
// Threads: any. Errors: none.
#pragma once

#include <set>
#include <string>

#include "lab/common/LineWriter.h"

namespace Kyr::Lab::DevHost {

/// The kinds in a text like "read,write". Throws std::invalid_argument for one that is none.
std::set<std::string> ParseDemand(const std::string& kinds);

/// `events` without what is told on demand only and not asked for.
LineSink OnDemand(LineSink events, std::set<std::string> asked);

}  // namespace Kyr::Lab::DevHost
