// One call of NtAlpcSendWaitReceivePort, which both ends of a port take, and the attribute buffers
// that it brings.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ntapi/Alpc.h"
#include "portlayer/packets/Packet.h"

namespace Kyr::PortLayer::Detail {

struct AlpcCall {
    std::uint32_t flags;
    std::uint8_t* sendMessage;
    NtApi::AlpcMessageAttributes* sendAttributes;
    std::uint8_t* receiveMessage;
    std::size_t* bufferLength;
    NtApi::AlpcMessageAttributes* receiveAttributes;
    const std::int64_t* timeout;
};

/// The view that a sender attached, or null.
NtApi::AlpcDataViewAttr* SentView(NtApi::AlpcMessageAttributes* attributes);

/// Whether a release gives the view back that came with the message.
bool UnmapsView(NtApi::AlpcMessageAttributes* attributes);

/// Tells the receiver of its view. False when the buffer has no place for one.
bool StoreView(NtApi::AlpcMessageAttributes* attributes, const ReceivedView& view);
void StoreContext(NtApi::AlpcMessageAttributes* attributes, void* portContext,
                  std::uint32_t messageId);
/// No attribute of the buffer is valid until the message has one.
void ClearValid(NtApi::AlpcMessageAttributes* attributes);

}  // namespace Kyr::PortLayer::Detail
