// The contract's port as a file of the run directory.
#pragma once

#include <string>

namespace Kyr::Test {

std::string SocketPath();

}  // namespace Kyr::Test
