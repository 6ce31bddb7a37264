// The library's client of one port by itself, without the channel that chooses between them.
//
// Threads: as the client's. Errors: null when the client cannot be made.
#pragma once

#include <memory>

#include "kelcomm/client/IKelcommClient.h"
#include "kelcomm/native/NativeFunctions.h"
#include "probe/session/PortTrace.h"

namespace Kyr::Probe {

/// Not connected yet: its first request does that. Closed when its last owner lets it go.
std::shared_ptr<Connectors::Common::Kelcomm::IKelcommClient> MakePortClient(
    Port port, const Connectors::Common::Kelcomm::Native::NativeFunctions& native);

}  // namespace Kyr::Probe
