#include "kelcomm/native/NativeTable.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

// Nothing is provided yet: every function is its fallback.
GenericFunction FindNativeFunction(NativeLibrary, const char*) {
    return nullptr;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
