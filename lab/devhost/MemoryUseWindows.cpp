#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <stdexcept>
#include <windows.h>
// Behind the other: it needs its types.
#include <psapi.h>

#include "lab/devhost/MemoryUse.h"

namespace Kyr::Lab::DevHost {

CMemoryUse ReadMemoryUse() {
    PROCESS_MEMORY_COUNTERS_EX counters{};
    if (GetProcessMemoryInfo(GetCurrentProcess(),
                             reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                             sizeof counters) == 0) {
        throw std::runtime_error("the system does not tell how much memory is used");
    }
    return {counters.PrivateUsage, counters.WorkingSetSize};
}

}  // namespace Kyr::Lab::DevHost
