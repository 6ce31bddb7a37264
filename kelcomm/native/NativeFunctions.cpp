#include "kelcomm/native/NativeFunctions.h"

#include <mutex>

#include "kelcomm/native/NativeTable.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

const NativeFunctions& SystemNativeFunctions() {
    static std::once_flag once;
    // Without a destructor: threads may use it while the process ends.
    static NativeFunctions table;
    std::call_once(once, [] { table = ResolveNativeFunctions(&FindNativeFunction); });
    return table;
}

NativeFunctions FallbackNativeFunctions() {
    return ResolveNativeFunctions(
        [](NativeLibrary, const char*) -> GenericFunction { return nullptr; });
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
