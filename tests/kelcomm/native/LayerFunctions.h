// The table of native functions with the port layer's in it, on every system: what the clients meet
// where ports are not the system's own.
#pragma once

#include "kelcomm/native/NativeTable.h"
#include "portlayer/FunctionsByName.h"

namespace Kyr::Test {

/// The system's functions, with the layer's in place of those that the layer has.
inline const Connectors::Common::Kelcomm::Native::NativeFunctions& LayerFunctions() {
    namespace Native = Connectors::Common::Kelcomm::Native;
    static const Native::NativeFunctions table = Native::ResolveNativeFunctions(
        [](Native::NativeLibrary library, const char* name) -> Native::GenericFunction {
            const auto function = PortLayer::FindFunctionByName(name);
            return function != nullptr ? function : Native::FindNativeFunction(library, name);
        });
    return table;
}

}  // namespace Kyr::Test
