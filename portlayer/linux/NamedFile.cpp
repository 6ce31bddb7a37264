#include "portlayer/linux/NamedFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

#include "portlayer/core/Deadline.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

// Who has the lock alone removes the file and is gone at once; nobody else may keep us. Our choice.
constexpr std::chrono::milliseconds kLockPatience{300};

bool LockShared(int file) {
    const CDeadline deadline = CDeadline::In(kLockPatience);
    while (::flock(file, LOCK_SH | LOCK_NB) != 0) {
        if ((errno != EINTR && errno != EWOULDBLOCK) || deadline.HasPassed()) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace

CNamedFile::~CNamedFile() {
    // A lock that can be made exclusive was the last one.
    if (file_.IsOpen() && ::flock(file_.Get(), LOCK_EX | LOCK_NB) == 0) {
        struct stat info = {};
        if (::fstat(file_.Get(), &info) == 0 && info.st_nlink != 0) {
            ::unlinkat(directory_.Get(), name_.c_str(), 0);
        }
    }
}

NtStatus CNamedFile::Open(const char16_t* name, const char* kind) {
    NtStatus status = FileNameOf(name, kind, name_);
    if (status == kStatusSuccess) {
        status = OpenRunDirectory(false, directory_);
    }
    return status == kStatusSuccess ? OpenLive() : status;
}

NtStatus CNamedFile::OpenLive() {
    CFileDescriptor file(
        ::openat(directory_.Get(), name_.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!file.IsOpen()) {
        return errno == ENOENT ? kStatusObjectNameNotFound : kStatusAccessDenied;
    }
    // Nobody holds the file: it was left behind. While we have it alone nobody else can remove the
    // name, so that a file that still has a link is the one with that name.
    if (::flock(file.Get(), LOCK_EX | LOCK_NB) == 0) {
        struct stat info = {};
        if (::fstat(file.Get(), &info) == 0 && info.st_nlink != 0) {
            ::unlinkat(directory_.Get(), name_.c_str(), 0);
        }
        return kStatusObjectNameNotFound;
    }
    if (!LockShared(file.Get())) {
        return kStatusAccessDenied;
    }
    // Its last holder may have removed it while we waited for the lock.
    struct stat info = {};
    if (::fstat(file.Get(), &info) != 0 || info.st_nlink == 0) {
        return kStatusObjectNameNotFound;
    }
    file_ = std::move(file);
    return kStatusSuccess;
}

NtStatus CNamedFile::OpenOrCreate(const char16_t* name, const char* kind, std::size_t size,
                                  const std::function<bool(int)>& initialise) {
    NtStatus status = FileNameOf(name, kind, name_);
    if (status == kStatusSuccess) {
        status = OpenRunDirectory(true, directory_);
    }
    // Goes round only when theirs, which made ours fail, is gone before we open it.
    while (status == kStatusSuccess) {
        const NtStatus opened = OpenLive();
        if (opened != kStatusObjectNameNotFound) {
            return opened;
        }
        status = Create(size, initialise);
        if (status != kStatusObjectNameCollision) {
            return status;
        }
        // Somebody was faster: open theirs.
        status = kStatusSuccess;
    }
    return status;
}

NtStatus CNamedFile::Create(std::size_t size, const std::function<bool(int)>& initialise) {
    // A file without a name. It is filled and locked first: found by its name half made, it would
    // be used; found without a lock, it would be removed.
    CFileDescriptor file(::openat(directory_.Get(), ".", O_RDWR | O_TMPFILE | O_CLOEXEC, 0600));
    if (!file.IsOpen() || ::ftruncate(file.Get(), static_cast<off_t>(size)) != 0 ||
        !LockShared(file.Get()) || (initialise && !initialise(file.Get()))) {
        return kStatusNoMemory;
    }
    // The way to name such a file without special rights. It fails where the name is in use.
    const std::string source = "/proc/self/fd/" + std::to_string(file.Get());
    if (::linkat(AT_FDCWD, source.c_str(), directory_.Get(), name_.c_str(), AT_SYMLINK_FOLLOW) !=
        0) {
        return errno == EEXIST ? kStatusObjectNameCollision : kStatusAccessDenied;
    }
    file_ = std::move(file);
    wasCreated_ = true;
    return kStatusSuccess;
}

std::size_t CNamedFile::Size() const {
    struct stat info = {};
    return ::fstat(file_.Get(), &info) == 0 ? static_cast<std::size_t>(info.st_size) : 0;
}

}  // namespace Kyr::PortLayer::Detail
