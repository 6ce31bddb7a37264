// The kinds of value in the binary form of a symbol row, by the numbers that stand in its bytes.
//
// Threads: any. Errors: none.
#pragma once

#include <cstdint>

namespace Kyr::Common::Logs {

// Deliberate: the tags of time and uuid are crossed against the order of the kinds in memory.
enum class SymbolTag : std::uint32_t {
    kInteger = 1,
    kDouble = 2,
    kString = 3,
    kResourceId = 4,
    kUuid = 5,
    kTime = 6,
    kBool = 7,
    kBlob = 8,
};

}  // namespace Kyr::Common::Logs
