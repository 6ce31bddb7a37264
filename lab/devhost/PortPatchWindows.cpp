#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <cstring>
#include <stdexcept>
#include <windows.h>

#include "lab/devhost/LoadedImage.h"
#include "lab/devhost/PortPatch.h"
#include "portlayer/FunctionsByName.h"

namespace Kyr::Lab::DevHost {

namespace {

/// What the library calls instead of GetProcAddress.
FARPROC WINAPI GetLayerAddress(HMODULE module, LPCSTR name) {
    // A function can also be asked for by its number, which then stands where the name's address
    // does.
    if (HIWORD(reinterpret_cast<std::uintptr_t>(name)) != 0) {
        if (const auto function = PortLayer::FindFunctionByName(name)) {
            return reinterpret_cast<FARPROC>(function);
        }
    }
    return GetProcAddress(module, name);
}

HMODULE LoadedLibrary(const std::string& path) {
    const std::size_t folder = path.find_last_of("/\\");
    const std::string file = folder == std::string::npos ? path : path.substr(folder + 1);
    const HMODULE module = GetModuleHandleA(file.c_str());
    if (module == nullptr) {
        throw std::runtime_error(file + " is not loaded");
    }
    return module;
}

/// How much memory the system has given to what begins at `base`.
std::size_t MemoryOf(const void* base) {
    std::size_t size = 0;
    MEMORY_BASIC_INFORMATION pages;
    while (VirtualQuery(static_cast<const char*>(base) + size, &pages, sizeof pages) != 0 &&
           pages.AllocationBase == base && pages.State == MEM_COMMIT) {
        size += pages.RegionSize;
    }
    return size;
}

/// Writes one word of memory that is otherwise only read.
void Overwrite(char* word, const void* value) {
    DWORD before = 0;
    if (VirtualProtect(word, sizeof value, PAGE_READWRITE, &before) == 0) {
        throw std::runtime_error("the imports of the library cannot be written");
    }
    std::memcpy(word, &value, sizeof value);
    VirtualProtect(word, sizeof value, before, &before);
}

}  // namespace

void TakePortsFromLayer(const std::string& libraryPath) {
    const HMODULE module = LoadedLibrary(libraryPath);
    const CLoadedImage image(module, MemoryOf(module));
    const auto word = image.FindImport("KERNEL32.dll", "GetProcAddress");
    if (!word) {
        throw std::runtime_error(libraryPath + " does not import GetProcAddress");
    }
    Overwrite(reinterpret_cast<char*>(module) + *word,
              reinterpret_cast<const void*>(&GetLayerAddress));
}

}  // namespace Kyr::Lab::DevHost
