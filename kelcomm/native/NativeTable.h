// The list behind the table of native functions: under which name and in which library each one is
// looked up, where it goes, and what stands in when the system lacks it.
//
// For NativeFunctions.cpp, the platform's lookup and the tests. Immutable; any thread.
#pragma once

#include <cstddef>

#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

/// A native function of unknown type; cast back to its own type before it is called.
using GenericFunction = void (*)();

/// The system libraries that functions are looked up in.
enum class NativeLibrary { kNtdll, kKernel32, kAdvapi32, kUser32 };

struct NativeEntry {
    NativeLibrary library;
    const char* name;
    void (*store)(NativeFunctions& table, GenericFunction function);
    void (*storeFallback)(NativeFunctions& table);
};

struct NativeTable {
    const NativeEntry* entries;
    std::size_t count;
};

/// Every function, in the order of NativeFunctions.
NativeTable AllNativeFunctions();

/// Looks one function up in this process; null when the system does not have it. Chosen by
/// platform.
GenericFunction FindNativeFunction(NativeLibrary library, const char* name);

/// The table that `find` gives, with fallbacks for everything that it does not know.
NativeFunctions ResolveNativeFunctions(GenericFunction (*find)(NativeLibrary, const char*));

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
