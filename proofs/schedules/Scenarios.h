// What the host does in the lives that are tried.
//
// Threads: a scenario runs on the first thread of the scheduler.
#pragma once

#include <vector>

#include "proofs/schedules/Life.h"

namespace Kyr::Proofs::Schedules {

struct Scenario {
    const char* name;
    Product product;
    void (*run)(CLife& life);
    /// It is a documented hang: some schedule must end in a deadlock, and that is no problem.
    bool hangs = false;
};

const std::vector<Scenario>& AllScenarios();

}  // namespace Kyr::Proofs::Schedules
