#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <algorithm>
#include <stdexcept>
#include <windows.h>
// Behind the other: it needs its types.
#include <psapi.h>

#include "lab/devhost/printing/MemoryUse.h"

namespace Kyr::Lab::DevHost {

MemoryUse ReadMemoryUse() {
    PROCESS_MEMORY_COUNTERS_EX counters{};
    if (GetProcessMemoryInfo(GetCurrentProcess(),
                             reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                             sizeof counters) == 0) {
        throw std::runtime_error("the system does not tell how much memory is used");
    }
    // Two names of one figure: Windows 7 fills in the first only, Wine the second only.
    return {std::max(counters.PrivateUsage, counters.PagefileUsage), counters.WorkingSetSize};
}

}  // namespace Kyr::Lab::DevHost
