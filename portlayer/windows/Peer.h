// The process at the other end of a pipe, and who may be there.
#pragma once

#include <cstdint>

struct _SECURITY_ATTRIBUTES;

namespace Kyr::PortLayer::Detail {

/// True when the process runs as our own user. False, too, when that cannot be found out.
bool IsProcessOfSameUser(std::uint32_t processId);

/// Lets our own user in and nobody else. Lives as long as the process; null when the user cannot be
/// found out: nothing may be made then that others could open.
_SECURITY_ATTRIBUTES* OwnUserOnly();

}  // namespace Kyr::PortLayer::Detail
