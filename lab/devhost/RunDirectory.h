// Where library and product meet: why nobody can use that place.
//
// The library cannot initialize then, and tells a status only.
// Threads: any. Errors: none.
#pragma once

#include <string>

namespace Kyr::Lab::DevHost {

/// Path and reason; empty when the directory can be used, or is yet to be made by the product that
/// comes first. On Windows, where there is none, always empty.
std::string RunDirectoryProblem();

}  // namespace Kyr::Lab::DevHost
