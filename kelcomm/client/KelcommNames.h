// The names of the kernel objects by which the product and its clients find each other.
//
// The order of the two ids differs on purpose: port names begin with the client's id, broadcast
// names with the server's.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Kyr::Connectors::Common::Kelcomm {

/// The product family's name buffers hold 64 characters; the longest name has 55.
constexpr std::size_t kObjectNameLength = 64;

/// A name with its terminator.
using ObjectName = std::array<char16_t, kObjectNameLength>;

ObjectName LpcPortName(std::uint32_t clientId, std::uint32_t serverId);
ObjectName AlpcPortName(std::uint32_t clientId, std::uint32_t serverId);
ObjectName BroadcastMutexName(std::uint32_t clientId, std::uint32_t serverId);
ObjectName BroadcastSectionName(std::uint32_t clientId, std::uint32_t serverId);

}  // namespace Kyr::Connectors::Common::Kelcomm
