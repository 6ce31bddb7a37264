#include "portlayer/linux/RunDirectory.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "portlayer/Diagnostics.h"

namespace Kyr::PortLayer {

using namespace NtApi;

namespace {

// No string: its destructor would keep a library that is unloaded in use until the thread ends.
thread_local char lastFailure[512];

}  // namespace

std::string LastFailure() {
    return lastFailure;
}

std::string PlaceOfNames() {
    // secure_getenv: a program with raised rights does not let its caller choose the directory.
    if (const char* own = ::secure_getenv("KELCOMM_RUNTIME_DIR"); own != nullptr && *own != '\0') {
        return own;
    }
    if (const char* user = ::secure_getenv("XDG_RUNTIME_DIR"); user != nullptr && *user != '\0') {
        return std::string(user) + "/kelcomm";
    }
    const uid_t uid = ::geteuid();
    return uid == 0 ? "/run/kelcomm" : "/tmp/kelcomm-" + std::to_string(uid);
}

namespace Detail {

namespace {

// Our own limits: "/proc/self/fd/<n>/<name>" must fit the 108 bytes of a socket address.
constexpr std::size_t kLongestFileName = 80;

NtStatus StatusOf(int error) {
    switch (error) {
        case ENOENT:
            return kStatusObjectNameNotFound;
        case EEXIST:
        case EADDRINUSE:
            return kStatusObjectNameCollision;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return kStatusDiskFull;
        case ENOMEM:
        case EMFILE:
        case ENFILE:
            return kStatusNoMemory;
        default:
            return kStatusAccessDenied;
    }
}

NtStatus FileNameOf(std::u16string_view units, const char* kind, std::string& file) {
    std::string name;
    for (const char16_t unit : units) {
        // Names of the system are compared without regard to case; the names here are plain ASCII.
        if (unit < 0x20 || unit > 0x7E) {
            return kStatusObjectNameInvalid;
        }
        name += static_cast<char>(unit >= u'A' && unit <= u'Z' ? unit + 0x20 : unit);
    }
    // Name spaces of the system, of which there is one here.
    for (const std::string_view space : {"\\basenamedobjects\\", "global\\", "local\\"}) {
        if (name.compare(0, space.size(), space) == 0) {
            name.erase(0, space.size());
            break;
        }
    }
    if (name.empty()) {
        return kStatusObjectNameInvalid;
    }
    file.clear();
    for (const char unit : name) {
        const bool plain = (unit >= 'a' && unit <= 'z') || (unit >= '0' && unit <= '9') ||
                           unit == '_' || unit == '-';
        char escaped[4] = {unit};
        if (!plain) {
            std::snprintf(escaped, sizeof escaped, "%%%02x", static_cast<unsigned>(unit));
        }
        file += escaped;
    }
    file += '.';
    file += kind;
    return file.size() > kLongestFileName ? kStatusObjectNameInvalid : kStatusSuccess;
}

}  // namespace

NtStatus Failed(const std::string& file) {
    const int error = errno;
    return Failed(file, StatusOf(error), std::generic_category().message(error));
}

NtStatus Failed(const std::string& file, NtStatus status, const std::string& reason) {
    const std::string path = file.empty() ? PlaceOfNames() : PlaceOfNames() + '/' + file;
    std::snprintf(lastFailure, sizeof lastFailure, "%s: %s", path.c_str(), reason.c_str());
    return status;
}

NtStatus OpenRunDirectory(bool create, CFileDescriptor& directory) {
    const std::string name = PlaceOfNames();
    if (create && ::mkdir(name.c_str(), 0700) != 0 && errno != EEXIST) {
        const NtStatus status = Failed({});
        return status == kStatusObjectNameNotFound ? kStatusObjectPathNotFound : status;
    }
    directory.Reset(::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!directory.IsOpen()) {
        return Failed({});
    }
    // Others could put their own sockets and files under our names.
    struct stat info = {};
    std::string reason;
    if (::fstat(directory.Get(), &info) != 0 || info.st_uid != ::geteuid()) {
        reason = "belongs to user " + std::to_string(info.st_uid) + ", not to " +
                 std::to_string(::geteuid());
    } else if ((info.st_mode & 0777) != 0700) {
        reason = "others may use it: its mode must be 0700";
    } else {
        return kStatusSuccess;
    }
    directory.Reset();
    return Failed({}, kStatusAccessDenied, reason);
}

NtStatus Locate(std::u16string_view name, const char* kind, bool create, CFileDescriptor& directory,
                std::string& file) {
    const NtStatus status = FileNameOf(name, kind, file);
    return status == kStatusSuccess ? OpenRunDirectory(create, directory) : status;
}

std::u16string_view NameOf(const UnicodeString& name) {
    // Half a letter is none of a name.
    const bool whole = name.Buffer != nullptr && name.Length % 2 == 0;
    return whole ? std::u16string_view(name.Buffer, name.Length / 2) : std::u16string_view();
}

std::u16string_view NameOf(const char16_t* name) {
    return name != nullptr ? std::u16string_view(name) : std::u16string_view();
}

std::string PathIn(const CFileDescriptor& directory, const std::string& file) {
    // Short enough for a socket address, and in the directory that was checked, whatever its name
    // is now.
    return "/proc/self/fd/" + std::to_string(directory.Get()) + "/" + file;
}

}  // namespace Detail

}  // namespace Kyr::PortLayer
