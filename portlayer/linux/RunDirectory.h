// The private directory in which the names of ports, mutexes and sections live, the file names that
// object names map to, and what failed there (Diagnostics.h).
//
// The directory is KELCOMM_RUNTIME_DIR, else $XDG_RUNTIME_DIR/kelcomm, else /run/kelcomm for root,
// else /tmp/kelcomm-<uid>. It is made with mode 0700 when it does not exist; one that belongs to
// another user, or that others may enter, is refused. It is looked up anew by every open, so a
// process may change the variable.
// Threads: any (as far as the environment is not changed meanwhile).
#pragma once

#include <string>
#include <string_view>

#include "ntapi/Status.h"
#include "ntapi/Types.h"
#include "portlayer/linux/FileDescriptor.h"

namespace Kyr::PortLayer::Detail {

/// Opens the directory. kStatusAccessDenied when it is not private to the effective user. When it
/// does not exist: kStatusObjectNameNotFound if it is only looked for, kStatusObjectPathNotFound if
/// it cannot be made because its parent is missing.
NtApi::NtStatus OpenRunDirectory(bool create, CFileDescriptor& directory);

/// Opens the directory in which an object of that name is, as above, and tells its file.
/// "\BaseNamedObjects\Name", "Global\Name", "Local\Name" and "Name" are one object, and letters of
/// either case are the same, as in the system's name space. `kind` becomes the extension: objects
/// of different kinds do not collide here. kStatusObjectNameInvalid when the name is empty, not
/// ASCII, or too long.
NtApi::NtStatus Locate(std::u16string_view name, const char* kind, bool create,
                       CFileDescriptor& directory, std::string& file);
/// The letters of a name of the system's; empty for none.
std::u16string_view NameOf(const NtApi::UnicodeString& name);
std::u16string_view NameOf(const char16_t* name);

/// The status that says what errno says. `file`: of the run directory; empty for the directory.
NtApi::NtStatus Failed(const std::string& file);
NtApi::NtStatus Failed(const std::string& file, NtApi::NtStatus status, const std::string& reason);

/// A path that reaches `file` through the open directory, whatever becomes of the directory's name.
std::string PathIn(const CFileDescriptor& directory, const std::string& file);

}  // namespace Kyr::PortLayer::Detail
