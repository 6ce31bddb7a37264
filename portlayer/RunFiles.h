// Short texts by name that the programs of one run directory share: what a system with a registry
// keeps there.
//
// A text is a file of the directory. It is replaced as a whole, so that nobody reads half of one.
// Threads: any. Errors: statuses; kStatusObjectNameNotFound when there is no such text or no
// directory, kStatusAccessDenied when the directory is not private or the file cannot be used.
#pragma once

#include <string>

#include "ntapi/Status.h"

namespace Kyr::PortLayer {

/// The longest text that is read; a longer file is refused.
constexpr std::size_t kLongestRunFile = 4096;

/// REQUIRES, for all three: `name` is a plain file name.
NtApi::NtStatus ReadRunFile(const char* name, std::string& text);
/// Makes the directory when it does not exist.
NtApi::NtStatus WriteRunFile(const char* name, const std::string& text);
NtApi::NtStatus RemoveRunFile(const char* name);

}  // namespace Kyr::PortLayer
