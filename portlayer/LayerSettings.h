// Choices where the system itself is known to answer in more than one way.
//
// Threads: any; a change holds for calls that start after it. Process-wide.
#pragma once

#include "ntapi/Status.h"

namespace Kyr::PortLayer {

/// What a request on an advanced port returns when the server goes away while it waits:
/// kStatusPortDisconnected (the default) or kStatusMessageLost.
void SetAlpcServerGoneStatus(NtApi::NtStatus status);
NtApi::NtStatus AlpcServerGoneStatus();

}  // namespace Kyr::PortLayer
