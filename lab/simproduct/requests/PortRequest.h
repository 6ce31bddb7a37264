// One request as it came through a port, whichever port it was.
#pragma once

#include <cstdint>

#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

enum class Transport { kLpc, kAlpc };

constexpr const char* NameOf(Transport transport) {
    return transport == Transport::kLpc ? "lpc" : "alpc";
}

// Kelcomm commands (protocol).
constexpr std::uint32_t kPingCommand = 0;
constexpr std::uint32_t kRequestCommand = 3;

struct PortRequest {
    Transport transport = Transport::kLpc;
    std::uint32_t command = 0;
    std::uint32_t replyCapacity = 0;
    bool wantsReply = true;
    Bytes payload;
};

}  // namespace Kyr::Lab::SimProduct
