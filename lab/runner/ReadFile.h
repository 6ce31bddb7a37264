// A file as one text.
//
// Threads: any. Errors: std::runtime_error that names the file.
#pragma once

#include <string>

namespace Kyr::Lab::Runner {

/// All bytes of the file.
std::string ReadFile(const std::string& path);

}  // namespace Kyr::Lab::Runner
