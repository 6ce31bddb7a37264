// Sockets and the process behind them.
#pragma once

#include <cstdint>
#include <string>

#include "ntapi/Status.h"
#include "portlayer/core/Deadline.h"
#include "portlayer/linux/FileDescriptor.h"

namespace Kyr::PortLayer::Detail {

/// Connects a new socket to the one that listens at `path`. kStatusObjectNameNotFound when nobody
/// does; kStatusTimeout when its backlog stays full.
NtApi::NtStatus ConnectSocket(const std::string& path, const CDeadline& deadline,
                              CFileDescriptor& socket);
/// A new socket bound to `path` that listens. False with errno.
bool ListenSocket(const std::string& path, CFileDescriptor& socket);

/// Waits for these events of poll. False when the deadline passed first.
bool WaitFor(int socket, short events, const CDeadline& deadline);

/// True when the peer runs as our effective user.
bool IsSameUser(int socket);
std::uint32_t PeerProcessId(int socket);

}  // namespace Kyr::PortLayer::Detail
