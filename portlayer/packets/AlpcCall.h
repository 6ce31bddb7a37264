// One call of NtAlpcSendWaitReceivePort, which both ends of a port take.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ntapi/Alpc.h"

namespace Kyr::PortLayer::Detail {

/// One call of NtAlpcSendWaitReceivePort.
struct AlpcCall {
    std::uint32_t flags;
    std::uint8_t* sendMessage;
    NtApi::AlpcMessageAttributes* sendAttributes;
    std::uint8_t* receiveMessage;
    std::size_t* bufferLength;
    NtApi::AlpcMessageAttributes* receiveAttributes;
    const std::int64_t* timeout;
};

}  // namespace Kyr::PortLayer::Detail
