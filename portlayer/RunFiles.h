// Short texts by name that the programs of one run directory share: what a system with a registry
// keeps there.
//
// A text is a file of the directory. It is replaced as a whole, so that nobody reads half of one.
// Threads: any. Errors: statuses, which Diagnostics.h explains; kStatusObjectNameNotFound when
// there is no such text, kStatusAccessDenied when the directory is not private or the file cannot
// be used.
#pragma once

#include <string>

#include "ntapi/Status.h"

namespace Kyr::PortLayer {

/// The longest text that is read; a longer file is refused.
constexpr std::size_t kLongestRunFile = 4096;

/// REQUIRES, for all three: `name` is a plain file name.
/// kStatusObjectNameNotFound also without a directory.
NtApi::NtStatus ReadRunFile(const char* name, std::string& text);
/// Makes the directory when it does not exist; kStatusObjectPathNotFound when its parent does not.
NtApi::NtStatus WriteRunFile(const char* name, const std::string& text);
/// The same: so that a directory that cannot be there is not taken for one without the text.
NtApi::NtStatus RemoveRunFile(const char* name);

}  // namespace Kyr::PortLayer
