#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include "kelcomm/native/NativeTable.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

namespace {

HMODULE Library(NativeLibrary library) {
    // The first two are part of every process; the others may have to be loaded, and stay loaded:
    // the table is kept for the life of the process.
    switch (library) {
        case NativeLibrary::kNtdll:
            return GetModuleHandleW(L"ntdll.dll");
        case NativeLibrary::kKernel32:
            return GetModuleHandleW(L"kernel32.dll");
        case NativeLibrary::kAdvapi32:
            return LoadLibraryW(L"advapi32.dll");
        case NativeLibrary::kUser32:
            return LoadLibraryW(L"user32.dll");
    }
    return nullptr;
}

}  // namespace

GenericFunction FindNativeFunction(NativeLibrary library, const char* name) {
    const HMODULE module = Library(library);
    return module == nullptr ? nullptr
                             : reinterpret_cast<GenericFunction>(GetProcAddress(module, name));
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
