// Reading and filling the attribute buffers of advanced messages.
#pragma once

#include "ntapi/Alpc.h"
#include "portlayer/packets/Packet.h"

namespace Kyr::PortLayer::Detail {

/// The view that a sender attached, or null.
NtApi::AlpcDataViewAttr* SentView(NtApi::AlpcMessageAttributes* attributes);

/// Tells the receiver of its view. False when the buffer has no place for one.
bool StoreView(NtApi::AlpcMessageAttributes* attributes, const ReceivedView& view);
void StoreContext(NtApi::AlpcMessageAttributes* attributes, void* portContext,
                  std::uint32_t messageId);
/// No attribute of the buffer is valid until the message has one.
void ClearValid(NtApi::AlpcMessageAttributes* attributes);

}  // namespace Kyr::PortLayer::Detail
