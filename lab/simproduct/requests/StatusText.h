// A native status for people: eight hexadecimal digits.
//
// Threads: any. Errors: none.
#pragma once

#include <string>

#include "ntapi/Types.h"

namespace Kyr::Lab::SimProduct {

std::string StatusText(NtApi::NtStatus status);

}  // namespace Kyr::Lab::SimProduct
