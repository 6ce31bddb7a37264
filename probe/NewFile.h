// Where a command writes what it has found out.
//
// Threads: any.
// Errors: std::runtime_error for a file that cannot be made, or is there already.
#pragma once

#include <string>

namespace Kyr::Probe {

/// Makes the file, empty and for its owner alone: it may carry what others must not see. `what`
/// goes into it, for people.
void MakeNewFile(const std::string& what, const std::string& path);

}  // namespace Kyr::Probe
