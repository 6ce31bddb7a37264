// Bytes as the lab's programs tell them: two hexadecimal digits a byte.
//
// Threads: any. Errors: std::invalid_argument for what are no such digits.
#pragma once

#include <string>

namespace Kyr::Lab::Runner {

std::string FromHex(const std::string& hex);

}  // namespace Kyr::Lab::Runner
