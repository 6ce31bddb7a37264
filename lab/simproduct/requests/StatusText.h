// A native status for people: eight hexadecimal digits.
//
// Threads: any. Errors: none.
#pragma once

#include <cstdio>
#include <string>

#include "ntapi/Types.h"

namespace Kyr::Lab::SimProduct {

inline std::string StatusText(NtApi::NtStatus status) {
    char text[16];
    std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(status));
    return text;
}

}  // namespace Kyr::Lab::SimProduct
