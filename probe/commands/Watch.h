// `watch`: what the product publishes, as it changes, and what the connector would do on each.
//
// Threads: one. Errors: as the session's, for a product that is not there when it begins; later a
// product that goes is told like any other change.
#pragma once

#include <chrono>
#include <functional>

#include "base/Clock.h"
#include "probe/session/Session.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

struct WatchOptions {
    std::chrono::milliseconds pause{1000};
    /// Zero: until it is asked to end.
    std::chrono::milliseconds length{0};
};

/// Hands each look's changes to `tell`, as rows of a report, if there are any. `isOver` is asked
/// several times a second. Tells whether anything has changed behind the first look.
bool Watch(CSession& session, const WatchOptions& options, Base::IClock& clock,
           const std::function<bool()>& isOver, const std::function<void(const Report&)>& tell);

}  // namespace Kyr::Probe
