#include "portlayer/linux/Failure.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "portlayer/Diagnostics.h"

namespace Kyr::PortLayer {

namespace {

using namespace NtApi;

// No string: its destructor would keep a library that is unloaded in use until the thread ends.
thread_local char lastFailure[512];

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

}  // namespace

NtStatus Detail::Failed(const std::string& file) {
    const int error = errno;
    return Failed(file, StatusOf(error), std::generic_category().message(error));
}

NtStatus Detail::Failed(const std::string& file, NtStatus status, const std::string& reason) {
    const std::string path = file.empty() ? PlaceOfNames() : PlaceOfNames() + '/' + file;
    std::snprintf(lastFailure, sizeof lastFailure, "%s: %s", path.c_str(), reason.c_str());
    return status;
}

std::string LastFailure() {
    return lastFailure;
}

}  // namespace Kyr::PortLayer
