#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <cstring>
#include <stdexcept>
#include <windows.h>

#include "lab/devhost/Ports.h"
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

/// The word in which the loaded library keeps the address of a function that it imports by name;
/// null when it does not. The system has read these tables when it loaded the library.
IMAGE_THUNK_DATA* FindImport(HMODULE module, const char* library, const char* function) {
    auto* const base = reinterpret_cast<char*>(module);
    const auto* const start = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + start->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto* one =
        reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
    for (; imports.Size != 0 && one->Name != 0; ++one) {
        if (one->OriginalFirstThunk == 0 || lstrcmpiA(base + one->Name, library) != 0) {
            continue;
        }
        const auto* name =
            reinterpret_cast<const IMAGE_THUNK_DATA*>(base + one->OriginalFirstThunk);
        auto* address = reinterpret_cast<IMAGE_THUNK_DATA*>(base + one->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            const auto* const hint =
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                std::strcmp(reinterpret_cast<const char*>(hint->Name), function) == 0) {
                return address;
            }
        }
    }
    return nullptr;
}

/// Writes one word of memory that is otherwise only read.
void Overwrite(void* word, const void* value) {
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
    IMAGE_THUNK_DATA* const word = FindImport(module, "KERNEL32.dll", "GetProcAddress");
    if (word == nullptr) {
        throw std::runtime_error(libraryPath + " does not import GetProcAddress");
    }
    Overwrite(word, reinterpret_cast<const void*>(&GetLayerAddress));
}

std::string RunDirectoryProblem() {
    return "";
}

}  // namespace Kyr::Lab::DevHost
