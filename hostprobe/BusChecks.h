// The points of the bus: what a module publishes comes back to its own subscribers, once, in order,
// in its context, as the same object, never from inside Publish; and the bus survives a subscriber
// that throws.
//
// Published are triggers of the connector's own type (7) that no connector knows: while this module
// is in its place nobody else takes them.
//
// Threads: the probe's; it waits for the bus. An interruption point.
// Errors: boost::thread_interrupted; what the bus throws becomes a point that is wrong.
#pragma once

#include <chrono>

#include "base/Clock.h"
#include "host/kernel/Resources.h"
#include "hostprobe/Report.h"

namespace Kyr::HostProbe {

void CheckBus(Common::Kernel::IBusResource& bus, const boost::shared_ptr<Base::IClock>& clock,
              std::chrono::milliseconds patience, CReport& report);

}  // namespace Kyr::HostProbe
