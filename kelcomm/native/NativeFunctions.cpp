#include "kelcomm/native/NativeFunctions.h"

#include <mutex>

#include "kelcomm/native/NativeTable.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

const CNativeFunctions& SystemNativeFunctions() {
    static std::once_flag once;
    // Without a destructor: threads may use it while the process ends.
    static CNativeFunctions table;
    std::call_once(once, [] { table = ResolveNativeFunctions(&FindNativeFunction); });
    return table;
}

CNativeFunctions FallbackNativeFunctions() {
    return ResolveNativeFunctions(
        [](NativeLibrary, const char*) -> GenericFunction { return nullptr; });
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
