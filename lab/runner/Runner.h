// Plays scenarios: starts the lab's programs, gives them commands and checks what they tell.
//
// Threads: one.
// Errors: what a scenario expects in vain ends that scenario and stands in the
// results; nothing throws but what cannot be set up at all.
#pragma once

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "lab/runner/Figures.h"
#include "lab/runner/Member.h"
#include "lab/runner/Scenario.h"
#include "lab/runner/Screen.h"
#include "lab/runner/Stage.h"
#include "lab/runner/life/LifeBook.h"

namespace Kyr::Lab::Runner {

/// How a run is played.
struct RunOptions {
    /// What is known of a scenario's neutral transcript, for comparing; empty: it is not compared.
    std::string transcript = {};
    bool wire = false;         // the product tells the bytes of requests and replies in any case
    std::string heading = {};  // of transcript and log: when, and by what, the run was made
};

class CRunner {
  public:
    /// `screen` must outlive the runner.
    CRunner(Stage stage, RunOptions options, CScreen& screen);
    ~CRunner();

    /// Plays one scenario to its end or its first failure, and adds a row for each step, and one
    /// for the transcript when it is compared. Returns true when every expectation held.
    bool Run(const Scenario& scenario);

    const std::vector<StepResult>& Results() const { return results_; }
    Figures Sum() const { return counter_.Sum(); }
    /// What was played, for a page.
    LifePage::Life Life() const { return book_.Life(); }

  private:
    struct Cast;

    void Do(const Statement& statement);
    void BeginStep(const Statement& step);
    void Start(const Statement& start);
    void Send(const Statement& command);
    void Kill(const Statement& kill);
    void Quit(const Statement& quit);
    void AwaitGone(const Statement& gone);
    void Expect(const Statement& expect);
    void Forbid(const Statement& never);
    void BeginCountdown(const Statement& countdown);
    void Wait(const Statement& wait);

    void FinishStep();
    void CloseStep();
    void CompareTranscript();
    /// Every process lives until a statement ends it, or lets it end.
    void RefuseUnaskedEnds();
    /// Errors, and what `only` forbids in this step.
    void RefuseUnexpected(const std::string& actor, const Member& member);
    static void Refuse(const std::string& actor, const Member& member, const EventPattern& pattern);
    /// The exit code; fails when the process outlives the patience.
    int AwaitEnd(const std::string& actor, Member& member, std::chrono::milliseconds patience,
                 const std::string& failure);
    void ShowCountdown();
    Member& Find(const std::string& actor);
    EventPattern Filled(const EventPattern& pattern) const;

    const Stage stage_;
    const RunOptions options_;
    CScreen& screen_;
    std::ofstream transcript_;
    CLifeBook book_;
    CFigureCounter counter_;
    std::vector<StepResult> results_;

    std::unique_ptr<Cast> cast_;  // what belongs to the scenario that is being played
};

}  // namespace Kyr::Lab::Runner
