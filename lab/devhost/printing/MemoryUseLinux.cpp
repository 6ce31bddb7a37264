#include <fstream>
#include <stdexcept>
#include <string>

#include "lab/devhost/printing/MemoryUse.h"

namespace Kyr::Lab::DevHost {

MemoryUse ReadMemoryUse() {
    std::ifstream file("/proc/self/smaps_rollup");
    MemoryUse use{0, 0};
    bool told = false;
    std::string word;
    while (file >> word) {
        std::uint64_t kibibytes = 0;
        if (word == "Rss:" && file >> kibibytes) {
            use.residentBytes = kibibytes * 1024;
            told = true;
        } else if ((word == "Private_Clean:" || word == "Private_Dirty:") && file >> kibibytes) {
            use.privateBytes += kibibytes * 1024;
        }
    }
    if (!told) {
        throw std::runtime_error("the system does not tell how much memory is used");
    }
    return use;
}

}  // namespace Kyr::Lab::DevHost
