// One of the cast: a process, and which of its events the scenario has come to.
//
// Threads: one; the actor's own thread reads the events.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lab/runner/Actor.h"
#include "lab/runner/Scenario.h"

namespace Kyr::Lab::Runner {

struct Member {
    std::unique_ptr<CActor> actor;
    std::set<std::size_t> taken;  // the places of the events that were expected
    std::size_t stepFrom = 0;     // where the events of this step begin
    bool endIsKnown = false;      // a statement has ended the process, or seen its end

    /// Not at the events of this moment: what the last step set going may be ahead of us.
    void BeginStep() { stepFrom = taken.empty() ? 0 : *taken.rbegin() + 1; }

    /// The first event of this step that fits and has not been taken, told after the moment
    /// `stamp` when there is one.
    std::optional<std::size_t> Find(const EventPattern& pattern, std::chrono::milliseconds patience,
                                    std::optional<std::uint64_t> stamp = std::nullopt) const;

    /// What helps to see why there is none: the event that comes nearest, and the last ten.
    std::vector<std::string> Around(const EventPattern& pattern) const;
};

/// A pattern as it stands in a scenario.
std::string Text(const EventPattern& pattern);

}  // namespace Kyr::Lab::Runner
