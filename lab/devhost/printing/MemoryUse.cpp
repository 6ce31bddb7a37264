#include "lab/devhost/printing/MemoryUse.h"

namespace Kyr::Lab::DevHost {

CLine MemoryLine(const char* when) {
    const MemoryUse use = ReadMemoryUse();
    return CLine("memory")
        .With("when", when)
        .With("private", use.privateBytes / 1024)
        .With("resident", use.residentBytes / 1024);
}

}  // namespace Kyr::Lab::DevHost
