#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <cstdlib>
#include <windows.h>

#include "lab/common/EndThisProcess.h"

namespace Kyr::Lab {

void EndThisProcess() {
    TerminateProcess(GetCurrentProcess(), kKilled);
    std::abort();  // not reached
}

}  // namespace Kyr::Lab
