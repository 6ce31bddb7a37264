#include "portlayer/RunFiles.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "portlayer/linux/FileDescriptor.h"
#include "portlayer/linux/RunDirectory.h"

namespace Kyr::PortLayer {

namespace {

using namespace NtApi;
using Detail::CFileDescriptor;
using Detail::Failed;

bool WriteAll(const CFileDescriptor& file, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::write(file.Get(), text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

}  // namespace

NtStatus ReadRunFile(const char* name, std::string& text) {
    CFileDescriptor directory;
    if (const NtStatus status = Detail::OpenRunDirectory(false, directory);
        status != kStatusSuccess) {
        return status;
    }
    // Whatever stands there under this name must not hold us up, nor lead elsewhere.
    const CFileDescriptor file(
        ::openat(directory.Get(), name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.IsOpen()) {
        return Failed(name);
    }
    struct stat info = {};
    if (::fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return kStatusAccessDenied;
    }
    std::string read(kLongestRunFile + 1, '\0');
    const ssize_t count = ::read(file.Get(), read.data(), read.size());
    if (count < 0 || static_cast<std::size_t>(count) > kLongestRunFile) {
        return kStatusAccessDenied;
    }
    read.resize(static_cast<std::size_t>(count));
    text = std::move(read);
    return kStatusSuccess;
}

NtStatus WriteRunFile(const char* name, const std::string& text) {
    CFileDescriptor directory;
    if (const NtStatus status = Detail::OpenRunDirectory(true, directory);
        status != kStatusSuccess) {
        return status;
    }
    // Written beside and renamed: readers find the old text or the new one, whole.
    const std::string draft = std::string(name) + ".new";
    const CFileDescriptor file(::openat(directory.Get(), draft.c_str(),
                                        O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC,
                                        0600));
    if (!file.IsOpen()) {
        return Failed(draft);
    }
    if (!WriteAll(file, text) ||
        ::renameat(directory.Get(), draft.c_str(), directory.Get(), name) != 0) {
        const NtStatus status = Failed(name);
        ::unlinkat(directory.Get(), draft.c_str(), 0);
        return status;
    }
    return kStatusSuccess;
}

NtStatus RemoveRunFile(const char* name) {
    CFileDescriptor directory;
    if (const NtStatus status = Detail::OpenRunDirectory(true, directory);
        status != kStatusSuccess) {
        return status;
    }
    return ::unlinkat(directory.Get(), name, 0) == 0 ? kStatusSuccess : Failed(name);
}

}  // namespace Kyr::PortLayer
