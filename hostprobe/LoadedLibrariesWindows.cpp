// clang-format off
#include <windows.h>
#include <psapi.h>
// clang-format on

#include <algorithm>

#include "hostprobe/LoadedLibraries.h"

namespace Kyr::HostProbe {

std::vector<std::string> LoadedLibraries() {
    HMODULE modules[1024];
    DWORD size = 0;
    std::vector<std::string> files;
    if (EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &size) == 0) {
        return files;
    }
    const std::size_t count = std::min(sizeof modules, std::size_t{size}) / sizeof modules[0];
    for (std::size_t i = 0; i < count; ++i) {
        char name[MAX_PATH];
        const DWORD length = GetModuleFileNameA(modules[i], name, sizeof name);
        files.emplace_back(name, length);
    }
    return files;
}

}  // namespace Kyr::HostProbe
