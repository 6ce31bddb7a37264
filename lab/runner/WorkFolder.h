// Where a program leaves databases, logs and ports when it was not told a place.
//
// Threads: any. Errors: boost::filesystem::filesystem_error.
#pragma once

#include <string>

namespace Kyr::Lab::Runner {

/// A new folder below the one that KYR_LAB_FOLDER names, or else among the temporary ones.
std::string NewWorkFolder();

}  // namespace Kyr::Lab::Runner
