// The system's own handles that this layer gave out, so that live ones can be counted.
//
// Threads: any.
#pragma once

#include "ntapi/Types.h"
#include "portlayer/core/LiveCounterCells.h"

namespace Kyr::PortLayer::Detail {

/// Counts the handle until CloseNative. Answers the handle, which may be null.
NtApi::Handle CountNative(NtApi::Handle handle, LiveCounter counter);
/// Closes the handle, counted or not. False when there is none.
bool CloseNative(NtApi::Handle handle);

}  // namespace Kyr::PortLayer::Detail
