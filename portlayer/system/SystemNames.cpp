// Names are the system's, as they stand: what one program makes, an unmodified library finds.
#include <system_error>

#include "portlayer/Diagnostics.h"
#include "portlayer/windows/ObjectNames.h"
#include "portlayer/windows/SystemHeader.h"

namespace Kyr::PortLayer {

std::string PlaceOfNames() {
    return "the system";
}

std::string LastFailure() {
    return std::system_category().message(static_cast<int>(::GetLastError()));
}

std::wstring Detail::ObjectNameOf(const char16_t* name) {
    return reinterpret_cast<const wchar_t*>(name);
}

}  // namespace Kyr::PortLayer
