// Runs schedules of one scenario in this process, until so many different ones have been run or one
// shows a problem.
//
// Threads: one, which no other one is beside. Errors: a problem is told, and ends the process: its
// threads stand where they stand. A crash and a wait that the scheduler does not see end it, too.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>

#include "proofs/schedules/Choosers.h"
#include "proofs/schedules/Scenarios.h"
#include "proofs/schedules/Trace.h"

namespace Kyr::Proofs::Schedules {

/// Exit codes of the process.
constexpr int kFine = 0;
constexpr int kProblem = 1;
constexpr int kHangs = 2;  // as the scenario says

struct Figures {
    std::uint64_t schedules;
    std::uint64_t different;
    std::uint64_t steps;  // of all of them
    int preemptions;      // up to so many, every schedule was run; -1: not even without
};

class CRunner {
  public:
    CRunner(const Scenario& scenario, std::uint64_t seed);

    /// Fills in `figures` as it goes on.
    void Run(std::uint64_t wanted, Figures& figures);
    /// Runs one again and prints what happens.
    void Replay(const std::string& schedule);

  private:
    void WarmUp();
    void RunOnce(CRecordingChooser& chooser);
    void Count(CRecordingChooser& chooser, Figures& figures);
    bool RunEvery(int preemptions, std::uint64_t wanted, Figures& figures);
    void OnProblem(const std::string& problem);
    void CatchCrashes();

    const Scenario& scenario_;
    const std::uint64_t seed_;
    CTrace trace_;
    CScheduler scheduler_;
    bool tracing_ = false;
    CRecordingChooser* chooser_ = nullptr;  // of the schedule that runs
    std::uint64_t runs_ = 0;
    std::int64_t grown_ = 0;  // bytes, in the last run
    std::unordered_set<std::uint64_t> seen_;
};

}  // namespace Kyr::Proofs::Schedules
