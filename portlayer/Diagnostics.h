// For people: where this process's names live, and what the last failing call met there.
//
// The classic functions return nothing but 0 when they fail, and a status does not tell a path.
// Threads: any; each has its own last failure. Errors: none.
#pragma once

#include <string>

namespace Kyr::PortLayer {

/// The run directory; where there is none, the name space that KELCOMM_RUNTIME_DIR tells.
std::string PlaceOfNames();

/// What the last function that failed on this thread met: where there are paths, path and reason.
std::string LastFailure();

/// Names of the ports' functions that are missing here, with commas between; empty where the layer
/// carries the ports itself. A program that serves the system's own ports asks before it begins.
std::string MissingFunctions();

}  // namespace Kyr::PortLayer
