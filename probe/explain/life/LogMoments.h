// When the lines of a host's log were written, as far as they tell: the lab's host writes the time
// of the day and the stamp of a clock that never runs back, other hosts what nobody reads here.
//
// Threads: any. Errors: none; whatever the lines say, no moment is before that of the line before.
#pragma once

#include <chrono>
#include <vector>

#include "lifepage/Life.h"
#include "probe/explain/HostLog.h"

namespace Kyr::Probe {

struct LogMoments {
    /// kOrder: no line has a time.
    LifePage::Clock clock = LifePage::Clock::kOrder;
    /// Of the day, at which the first line that has a time was written.
    std::chrono::milliseconds begin{};
    /// Of each line. One without a time has that of the line before, if others have times.
    std::vector<LifePage::Moment> moments;
};

LogMoments MomentsOf(const HostLog& log);

}  // namespace Kyr::Probe
