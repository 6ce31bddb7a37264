// Plays scenarios: starts the lab's programs, gives them commands and checks what they tell.
//
// Threads: one.
// Errors: what a scenario expects in vain, and whatever its statements throw, ends that scenario
// and stands in the book. What the screen's stream throws at the title or at the end is thrown.
#pragma once

#include <string>

#include "lab/runner/Scenario.h"
#include "lab/runner/Screen.h"
#include "lab/runner/Stage.h"
#include "lab/runner/life/LifeBook.h"

namespace Kyr::Lab::Runner {

/// How a run is played.
struct RunOptions {
    /// What is known of a scenario's neutral transcript, for comparing; empty: it is not compared.
    std::string transcript = {};
    bool wire = false;  // the product tells the bytes of requests and replies in any case
};

/// Plays one scenario to its end or its first failure. The book gets what is told and each step,
/// and one more for the transcript when it is compared. Returns true when every expectation held.
bool PlayScenario(const Scenario& scenario, const Stage& stage, const RunOptions& options,
                  CScreen& screen, CLifeBook& book);

}  // namespace Kyr::Lab::Runner
