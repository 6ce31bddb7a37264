// The host's names for the symbols in its logs, for people who read events.
//
// Threads: any. Errors: none.
#pragma once

#include <cstdint>
#include <string>

namespace Kyr::Lab::DevHost {

/// Number and name, as in "2836-status"; only the number of a symbol without a name.
std::string SymbolKey(std::int32_t symbol);

}  // namespace Kyr::Lab::DevHost
