// The clock seam: every "now", sleep and timed wait of this project goes through IClock.
//
// Production code uses CSystemClock; tests drive a manual clock, so that ten-second waits take no
// time.
//
// Threads: every operation may be called from any thread at any time.
// Interruption: SleepFor, Wait and WaitFor are boost interruption points, and throw
//   boost::thread_interrupted when the calling thread is interrupted. Nothing else is thrown.
// Ownership: shared; the clock must outlive every thread that waits on it.
#pragma once

#include <chrono>
#include <cstdint>

#include <boost/shared_ptr.hpp>

namespace Kyr::Base {

class CCondition;
class CLock;

class IClock {
  public:
    virtual ~IClock();

    /// The calendar time in whole seconds since 1970-01-01T00:00:00 UTC; 64 bits on every platform.
    virtual std::int64_t CalendarTime() const = 0;

    /// Blocks the calling thread for `duration`. A duration that is not positive only passes the
    /// interruption point.
    virtual void SleepFor(std::chrono::milliseconds duration) = 0;

    /// Waits until `condition` is signalled; may wake without a reason.
    /// REQUIRES: `lock` is held by the calling thread.
    virtual void Wait(CCondition& condition, CLock& lock) = 0;

    /// Waits until `condition` is signalled or `timeout` has passed; may wake without a reason.
    /// Returns false when the time has passed, true otherwise.
    /// REQUIRES: `lock` is held by the calling thread.
    virtual bool WaitFor(CCondition& condition, CLock& lock, std::chrono::milliseconds timeout) = 0;
};

/// The clock of the operating system; one for the whole process.
boost::shared_ptr<IClock> SystemClock();

}  // namespace Kyr::Base
