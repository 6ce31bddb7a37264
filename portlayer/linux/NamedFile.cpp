#include "portlayer/linux/NamedFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

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

bool HasName(int file) {
    struct stat info = {};
    return ::fstat(file, &info) == 0 && info.st_nlink != 0;
}

bool Reserve(int file, std::size_t size) {
    // It returns the error, and an interrupted call has done nothing.
    do {
        errno = ::posix_fallocate(file, 0, static_cast<off_t>(size));
    } while (errno == EINTR);
    return errno == 0;
}

/// Removes the name of a file that nobody else holds; false when somebody does. While we have it
/// alone nobody else can remove the name, so that a file that has one is the one with `name`.
bool RemoveUnheld(int directory, const std::string& name, int file) {
    if (::flock(file, LOCK_EX | LOCK_NB) != 0) {
        return false;
    }
    if (HasName(file)) {
        ::unlinkat(directory, name.c_str(), 0);
    }
    return true;
}

}  // namespace

CNamedFile::~CNamedFile() {
    if (file_.IsOpen()) {
        RemoveUnheld(directory_.Get(), name_, file_.Get());
    }
}

NtStatus CNamedFile::Open(std::u16string_view name, const char* kind) {
    const NtStatus status = Locate(name, kind, false, directory_, name_);
    return status == kStatusSuccess ? OpenLive() : status;
}

NtStatus CNamedFile::OpenLive() {
    CFileDescriptor file(
        ::openat(directory_.Get(), name_.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!file.IsOpen()) {
        return Failed(name_);
    }
    // Nobody holds the file: it was left behind.
    if (RemoveUnheld(directory_.Get(), name_, file.Get())) {
        return kStatusObjectNameNotFound;
    }
    if (!LockShared(file.Get())) {
        return Failed(name_);
    }
    // Its last holder may have removed it while we waited for the lock.
    if (!HasName(file.Get())) {
        return kStatusObjectNameNotFound;
    }
    file_ = std::move(file);
    return kStatusSuccess;
}

NtStatus CNamedFile::OpenOrCreate(std::u16string_view name, const char* kind, std::size_t size,
                                  const std::function<bool(int)>& initialise) {
    NtStatus status = Locate(name, kind, true, directory_, name_);
    if (status != kStatusSuccess) {
        return status;
    }
    do {
        status = OpenLive();
        if (status == kStatusObjectNameNotFound) {
            status = Create(size, initialise);
        }
        // Somebody was faster: open theirs, if it is still there.
    } while (status == kStatusObjectNameCollision);
    return status;
}

NtStatus CNamedFile::Create(std::size_t size, const std::function<bool(int)>& initialise) {
    // A file without a name. It is filled and locked first: found by its name half made, it would
    // be used; found without a lock, it would be removed.
    CFileDescriptor file(::openat(directory_.Get(), ".", O_RDWR | O_TMPFILE | O_CLOEXEC, 0600));
    if (!file.IsOpen() || (size != 0 && !Reserve(file.Get(), size)) || !LockShared(file.Get()) ||
        (initialise && !initialise(file.Get()))) {
        return Failed(name_);
    }
    // The way to name such a file without special rights. It fails where the name is in use.
    const std::string source = "/proc/self/fd/" + std::to_string(file.Get());
    if (::linkat(AT_FDCWD, source.c_str(), directory_.Get(), name_.c_str(), AT_SYMLINK_FOLLOW) !=
        0) {
        return Failed(name_);
    }
    file_ = std::move(file);
    wasCreated_ = true;
    return kStatusSuccess;
}

bool CNamedFile::Renew() {
    CNamedFile next;
    next.name_ = name_;
    if (HasName(file_.Get()) || OpenRunDirectory(false, next.directory_) != kStatusSuccess ||
        next.OpenLive() != kStatusSuccess || next.Size() < Size()) {
        return false;
    }
    std::swap(directory_, next.directory_);
    std::swap(file_, next.file_);
    return true;
}

std::size_t CNamedFile::Size() const {
    struct stat info = {};
    return ::fstat(file_.Get(), &info) == 0 ? static_cast<std::size_t>(info.st_size) : 0;
}

}  // namespace Kyr::PortLayer::Detail
