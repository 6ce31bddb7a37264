// Failures in the run directory: their status, and the text that Diagnostics.h hands out.
//
// Threads: any; each has a text of its own.
#pragma once

#include <string>

#include "ntapi/Status.h"

namespace Kyr::PortLayer::Detail {

/// The status that says what errno says. `file`: of the run directory; empty for the directory.
NtApi::NtStatus Failed(const std::string& file);
NtApi::NtStatus Failed(const std::string& file, NtApi::NtStatus status, const std::string& reason);

}  // namespace Kyr::PortLayer::Detail
