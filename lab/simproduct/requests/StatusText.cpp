#include "lab/simproduct/requests/StatusText.h"

#include <cstdio>

namespace Kyr::Lab::SimProduct {

std::string StatusText(NtApi::NtStatus status) {
    char text[16];
    std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(status));
    return text;
}

}  // namespace Kyr::Lab::SimProduct
