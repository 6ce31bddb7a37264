#include "kelcomm/native/NativeTable.h"
#include "portlayer/FunctionsByName.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

// The port layer is the system here. Names are unique across the libraries. There are no access
// tokens, so the functions of advapi32 are left to their fallbacks.
GenericFunction FindNativeFunction(NativeLibrary, const char* name) {
    return PortLayer::FindFunctionByName(name);
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
