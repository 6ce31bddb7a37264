// The clock of a conversation: the module's threads wait by it and take turns, and time moves only
// when a conductor says so.
//
// Threads: the conductor's operations belong to one thread; the clock's to every other.
// Errors: threads that do not come to rest end the process, with a line that says so.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

#include "base/Clock.h"

namespace Kyr::Fuzz {

class ITurnClock : public Base::IClock {
  public:
    using Milliseconds = std::chrono::milliseconds;

    // For the conductor.

    /// Gives everybody turns until nobody does anything any more.
    virtual void Settle() = 0;
    /// Moves time, and settles.
    virtual void Advance(Milliseconds duration) = 0;
    /// Sets the calendar forward or back; no wait ends by it.
    virtual void JumpCalendar(std::chrono::seconds jump) = 0;
    /// The time until the next wait of anybody ends; nothing when none has an end.
    virtual std::optional<Milliseconds> UntilNextDeadline() const = 0;
    /// How many of the module's threads are alive.
    virtual std::size_t Threads() const = 0;

    // For threads, as early as they can be caught: those that the conductor starts, and the
    // module's own where they first touch the host or the product.

    /// Waits for a first turn; does nothing in the conductor, or in a thread that had one.
    virtual void Enter() = 0;
};

}  // namespace Kyr::Fuzz
