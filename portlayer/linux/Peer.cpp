#include "portlayer/linux/Peer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

// Connections that wait to be taken from the socket. Our choice; a full backlog only delays.
constexpr int kBacklog = 128;

thread_local std::uint32_t threadId = 0;

bool FillAddress(const std::string& path, sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

ucred PeerOf(int socket) {
    ucred peer = {0, static_cast<uid_t>(-1), static_cast<gid_t>(-1)};
    socklen_t size = sizeof peer;
    ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size);
    return peer;
}

}  // namespace

NtStatus ConnectSocket(const std::string& path, const CDeadline& deadline,
                       CFileDescriptor& socket) {
    sockaddr_un address;
    if (!FillAddress(path, address)) {
        return kStatusObjectNameInvalid;
    }
    socket.Reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (!socket.IsOpen()) {
        return kStatusNoMemory;
    }
    if (!deadline.IsNever()) {
        // The send time-out also limits connect; zero would mean none.
        const int milliseconds = std::max(1, deadline.PollMilliseconds());
        const timeval limit = {milliseconds / 1000, suseconds_t{milliseconds % 1000} * 1000};
        ::setsockopt(socket.Get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    }
    while (::connect(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        switch (errno) {
            case EINTR:
                continue;
            case EAGAIN:
                return kStatusTimeout;
            case EACCES:
            case EPERM:
                return kStatusAccessDenied;
            default:
                return kStatusObjectNameNotFound;
        }
    }
    return kStatusSuccess;
}

bool ListenSocket(const std::string& path, CFileDescriptor& socket) {
    sockaddr_un address;
    if (!FillAddress(path, address)) {
        errno = ENAMETOOLONG;
        return false;
    }
    socket.Reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    return socket.IsOpen() &&
           ::bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
           ::listen(socket.Get(), kBacklog) == 0;
}

bool WaitFor(int socket, short events, const CDeadline& deadline) {
    pollfd item = {socket, events, 0};
    for (;;) {
        const int result = ::poll(&item, 1, deadline.PollMilliseconds());
        if (result > 0) {
            return true;
        }
        if (result == 0 ? deadline.HasPassed() : errno != EINTR) {
            return false;
        }
    }
}

bool IsSameUser(int socket) {
    return PeerOf(socket).uid == ::geteuid();
}

std::uint32_t PeerProcessId(int socket) {
    return static_cast<std::uint32_t>(PeerOf(socket).pid);
}

std::uint32_t CurrentThreadId() {
    // A system call for every message would cost as much as all the layer's locks together.
    if (threadId == 0) {
        // A forked child's only thread has an id of its own.
        static const int registered = ::pthread_atfork(nullptr, nullptr, [] { threadId = 0; });
        static_cast<void>(registered);
        threadId = static_cast<std::uint32_t>(::gettid());
    }
    return threadId;
}

}  // namespace Kyr::PortLayer::Detail
