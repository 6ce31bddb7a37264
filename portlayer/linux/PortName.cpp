#include "portlayer/linux/PortName.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "portlayer/linux/Failure.h"
#include "portlayer/linux/Peer.h"
#include "portlayer/linux/RunDirectory.h"

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

std::string LockName(const std::string& file) {
    return file + ".lock";
}

}  // namespace

NtStatus CPortName::Take(const UnicodeString& name, CFileDescriptor& listener) {
    NtStatus status = Locate(NameOf(name), "port", true, directory_, file_);
    if (status == kStatusSuccess) {
        status = Lock();
    }
    if (status != kStatusSuccess) {
        return status;
    }
    // What stands there now was left by a process that is gone.
    ::unlinkat(directory_.Get(), file_.c_str(), 0);
    return ListenSocket(PathIn(directory_, file_), listener) ? kStatusSuccess : Failed(file_);
}

NtStatus CPortName::Lock() {
    const std::string lockName = LockName(file_);
    for (;;) {
        CFileDescriptor lock(::openat(directory_.Get(), lockName.c_str(),
                                      O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!lock.IsOpen()) {
            return Failed(lockName);
        }
        if (::flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) {
            return Failed(lockName, kStatusObjectNameCollision, "somebody serves there");
        }
        // The last owner may have removed the file between our open and our lock.
        struct stat info = {};
        if (::fstat(lock.Get(), &info) == 0 && info.st_nlink != 0) {
            lock_ = std::move(lock);
            return kStatusSuccess;
        }
    }
}

void CPortName::Give() {
    if (!lock_.IsOpen()) {
        return;
    }
    // Both while the lock is held: afterwards the names may be those of the next server.
    ::unlinkat(directory_.Get(), file_.c_str(), 0);
    ::unlinkat(directory_.Get(), LockName(file_).c_str(), 0);
    lock_.Reset();
}

}  // namespace Kyr::PortLayer::Detail
