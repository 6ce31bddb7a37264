// Stands before the operating system's functions that the port layer calls: the linker lets what
// this program is made of find these instead (CMakeLists.txt has the same names).
#include <cstdarg>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ntapi/Types.h"
#include "proofs/kill/Calls.h"

using Kyr::Proofs::Kill::CCall;

// The names are the linker's.
#define KYR_CALL(result, name, parameters, arguments) \
    extern "C" result __real_##name parameters;       \
    extern "C" result __wrap_##name parameters;       \
    result __wrap_##name parameters {                 \
        const CCall call(#name);                      \
        return __real_##name arguments;               \
    }

// What is sent and received.
KYR_CALL(ssize_t, sendmsg, (int socket, const msghdr* message, int flags), (socket, message, flags))
KYR_CALL(ssize_t, recvmsg, (int socket, msghdr* message, int flags), (socket, message, flags))
KYR_CALL(ssize_t, send, (int socket, const void* bytes, size_t size, int flags),
         (socket, bytes, size, flags))
KYR_CALL(int, poll, (pollfd * ready, nfds_t count, int timeout), (ready, count, timeout))
KYR_CALL(int, epoll_ctl, (int set, int operation, int file, epoll_event* event),
         (set, operation, file, event))
KYR_CALL(int, epoll_wait, (int set, epoll_event* events, int count, int timeout),
         (set, events, count, timeout))

// Who serves, who comes and who goes.
KYR_CALL(int, socket, (int domain, int type, int protocol), (domain, type, protocol))
KYR_CALL(int, bind, (int socket, const sockaddr* address, socklen_t size), (socket, address, size))
KYR_CALL(int, listen, (int socket, int backlog), (socket, backlog))
KYR_CALL(int, connect, (int socket, const sockaddr* address, socklen_t size),
         (socket, address, size))
KYR_CALL(int, accept4, (int socket, sockaddr* address, socklen_t* size, int flags),
         (socket, address, size, flags))
KYR_CALL(int, shutdown, (int socket, int how), (socket, how))
KYR_CALL(int, close, (int file), (file))

// Names in the run directory, and what is shared.
KYR_CALL(int, mkdir, (const char* path, mode_t mode), (path, mode))
KYR_CALL(int, flock, (int file, int operation), (file, operation))
KYR_CALL(int, linkat, (int from, const char* name, int to, const char* other, int flags),
         (from, name, to, other, flags))
KYR_CALL(int, unlinkat, (int directory, const char* name, int flags), (directory, name, flags))
KYR_CALL(int, ftruncate, (int file, off_t size), (file, size))
KYR_CALL(int, memfd_create, (const char* name, unsigned flags), (name, flags))
KYR_CALL(void*, mmap, (void* at, size_t size, int access, int flags, int file, off_t offset),
         (at, size, access, flags, file, offset))
KYR_CALL(int, munmap, (void* at, size_t size), (at, size))
KYR_CALL(int, pthread_mutex_clocklock,
         (pthread_mutex_t * mutex, clockid_t clock, const timespec* limit), (mutex, clock, limit))

KYR_CALL(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, size))
KYR_CALL(ssize_t, write, (int file, const void* bytes, size_t size), (file, bytes, size))
KYR_CALL(int, renameat, (int from, const char* name, int to, const char* other),
         (from, name, to, other))
KYR_CALL(int, eventfd, (unsigned count, int flags), (count, flags))

extern "C" {

int __real_openat(int directory, const char* name, int flags, ...);
int __wrap_openat(int directory, const char* name, int flags, ...);
int __wrap_openat(int directory, const char* name, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    const CCall call("openat");
    return __real_openat(directory, name, flags, mode);
}

// With a number, or with nothing.
int __real_fcntl(int file, int command, ...);
int __wrap_fcntl(int file, int command, ...);
int __wrap_fcntl(int file, int command, ...) {
    va_list rest;
    va_start(rest, command);
    const long argument = va_arg(rest, long);
    va_end(rest);
    const CCall call("fcntl");
    return __real_fcntl(file, command, argument);
}
}

// Mutexes that processes share, which are the robust ones; all others are within a process.
#define KYR_MUTEX_CALL(name)                                \
    extern "C" int __real_##name(pthread_mutex_t* mutex);   \
    extern "C" int __wrap_##name(pthread_mutex_t* mutex);   \
    int __wrap_##name(pthread_mutex_t* mutex) {             \
        constexpr int kRobust = 16; /* the system's mark */ \
        if ((mutex->__data.__kind & kRobust) == 0) {        \
            return __real_##name(mutex);                    \
        }                                                   \
        const CCall call(#name);                            \
        return __real_##name(mutex);                        \
    }

KYR_MUTEX_CALL(pthread_mutex_lock)
KYR_MUTEX_CALL(pthread_mutex_trylock)

// Named mutexes: all others are let go by the same function of the system, and are no calls.
KYR_CALL(Kyr::NtApi::Bool, _ZN3Kyr9PortLayer12ReleaseMutexEPv, (void* mutex), (mutex))
