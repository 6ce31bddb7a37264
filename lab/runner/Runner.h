// Plays scenarios: starts the lab's programs, gives them commands and checks what they tell.
//
// Every run has a folder of its own for databases, logs and transcripts, and a port namespace of
// its own, so that several runs can go on beside each other.
//
// Threads: one.
// Errors: what a scenario expects in vain ends that scenario and stands in the
// results; nothing throws but what cannot be set up at all.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "lab/runner/Actor.h"
#include "lab/runner/FigureCounter.h"
#include "lab/runner/Figures.h"
#include "lab/runner/NeutralTranscript.h"
#include "lab/runner/Scenario.h"
#include "lab/runner/Screen.h"
#include "lab/runner/Transcript.h"

namespace Kyr::Lab::Runner {

/// Where the lab's programs are and where a run leaves its files.
struct CRunnerPaths {
    std::string programs;  // folder of simagent, devhost and victim
    std::string library;   // the module library
    std::string ports;     // folder in which the ports of this run have their names
    std::string work;      // folder of this run; made when missing
    /// What is known of a scenario's neutral transcript, for comparing; empty: it is not compared.
    std::string transcript = {};
    std::vector<std::string> hostOptions = {};  // what every host is started with besides
};

class CRunner {
  public:
    /// `screen` must outlive the runner.
    CRunner(CRunnerPaths paths, CScreen& screen);
    ~CRunner();

    /// Plays one scenario to its end or its first failure, and adds a row for each step, and one
    /// for the transcript when it is compared. Returns true when every expectation held.
    bool Run(const CScenario& scenario);

    const std::vector<CStepResult>& Results() const { return results_; }
    CFigures Sum() const { return counter_.Sum(); }

  private:
    struct CCast;
    struct CMember;

    void Do(const CStepStatement& step);
    void Do(const CSayStatement& say);
    void Do(const CStartStatement& start);
    void Do(const CKillStatement& kill);
    void Do(const CQuitStatement& quit);
    void Do(const CGoneStatement& gone);
    void Do(const CCommandStatement& command);
    void Do(const CExpectStatement& expect);
    void Do(const CNeverStatement& never);
    void Do(const CCountdownStatement& countdown);
    void Do(const CWaitStatement& wait);

    void CloseStep();
    void CompareTranscript();
    /// Every process lives until a statement ends it, or lets it end.
    void RefuseUnaskedEnds();
    void ShowCountdown();
    CMember& Find(const std::string& actor);
    std::vector<std::string> Arguments(const CStartStatement& start) const;
    std::string ProgramPath(const std::string& actor) const;
    std::string ProgramFile(const std::string& name) const;
    CEventPattern Filled(const CEventPattern& pattern) const;

    const CRunnerPaths paths_;
    CScreen& screen_;
    CTranscript transcript_;
    CNeutralTranscript neutral_;
    CFigureCounter counter_;
    std::vector<CStepResult> results_;

    std::unique_ptr<CCast> cast_;  // what belongs to the scenario that is being played
};

}  // namespace Kyr::Lab::Runner
