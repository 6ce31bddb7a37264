// Reads the export table of a built library.
#pragma once

#include <string>
#include <vector>

namespace Kyr::Test {

/// The names that the library file at `path` offers to others, in alphabetic order. Throws
/// std::runtime_error when the file is not a library of this platform.
std::vector<std::string> ExportedNames(const std::string& path);

}  // namespace Kyr::Test
