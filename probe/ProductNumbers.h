// Numbers of the product's protocol that several commands know by name: what goes over a port, and
// the status of a reply. The library keeps its own to itself, in kelcomm/KelcommChannel.cpp.
//
// Constants.
#pragma once

#include <cstdint>

namespace Kyr::Probe {

// Commands of a port.
constexpr std::uint32_t kPingCommand = 0;
constexpr std::uint32_t kRequestCommand = 3;

// Statuses of a reply.
constexpr std::uint32_t kSuccessStatus = 0;
constexpr std::uint32_t kUnknownRequestStatus = 1;
constexpr std::uint32_t kReplyTooSmallStatus = 5;
constexpr std::uint32_t kNotAnAdministratorStatus = 14;  // access denied
constexpr std::uint32_t kNoValueStatus = 18;             // success

constexpr char kNotAnAdministrator[] = "not an administrator";

}  // namespace Kyr::Probe
