// The files that are loaded into this process.
//
// Threads: any. Errors: none; a system that does not tell gives none.
#pragma once

#include <string>
#include <vector>

namespace Kyr::HostProbe {

/// Paths as the system knows them, each once.
std::vector<std::string> LoadedLibraries();

}  // namespace Kyr::HostProbe
