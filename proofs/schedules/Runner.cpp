#include "proofs/schedules/Runner.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <sys/time.h>
#include <unistd.h>

#include "tests/support/AllocationWatch.h"

namespace Kyr::Proofs::Schedules {

namespace {

constexpr int kMostPreemptions = 3;
constexpr int kWarmUps = 3;
constexpr int kPatience = 20;  // seconds for one schedule, which takes a thousandth

// For the handlers of signals.
CRunner* running = nullptr;
void (*tell)(const char*) = nullptr;
std::uint64_t runsAtLastLook = 0;
const std::uint64_t* runsNow = nullptr;

}  // namespace

CRunner::CRunner(const Scenario& scenario, std::uint64_t seed)
    : scenario_(scenario),
      seed_(seed),
      scheduler_([this](const std::string& problem) { OnProblem(problem); },
                 [this](int thread, const char* operation, const void* object, const Option& next) {
                     if (tracing_) {
                         trace_.Note(scheduler_.Now(), thread, operation, object, next);
                     }
                 }) {
    CatchCrashes();
}

// What is made once in a process is made here, and is in no schedule.
void CRunner::WarmUp() {
    CReplayChooser first("");
    for (int run = 0; run < kWarmUps; ++run) {
        RunOnce(first);
    }
}

void CRunner::RunOnce(CRecordingChooser& chooser) {
    chooser_ = &chooser;
    trace_ = {};
    chooser.Begin();
    const std::size_t before = Test::CAllocationWatch::Held();
    scheduler_.Begin(chooser);
    {
        CLife life(scenario_.product);
        scenario_.run(life);
    }
    scheduler_.End();
    ++runs_;
    grown_ = static_cast<std::int64_t>(Test::CAllocationWatch::Held() - before);
}

void CRunner::Count(CRecordingChooser& chooser, Figures& figures) {
    RunOnce(chooser);
    ++figures.schedules;
    figures.steps += scheduler_.Steps();
    figures.different += seen_.insert(chooser.Fingerprint()).second ? 1 : 0;
    if (grown_ > 0) {
        // Perhaps something that is made once in a process.
        CReplayChooser again(chooser.Name());
        RunOnce(again);
        if (grown_ > 0) {
            OnProblem(std::to_string(grown_) + " bytes are never released");
        }
    }
}

void CRunner::Run(std::uint64_t wanted, Figures& figures) {
    figures.preemptions = -1;
    WarmUp();
    while (figures.preemptions < kMostPreemptions &&
           RunEvery(figures.preemptions + 1, wanted / 2, figures)) {
        ++figures.preemptions;
    }
    CReplayChooser usual("");
    RunOnce(usual);
    CRandomChooser random(seed_, usual.Decisions());
    // A short life has not as many different ones.
    for (std::uint64_t left = 2 * wanted; figures.different < wanted && left > 0; --left) {
        Count(random, figures);
    }
}

// False: there are more than were wanted.
bool CRunner::RunEvery(int preemptions, std::uint64_t wanted, Figures& figures) {
    CEveryChooser every(preemptions);
    do {
        if (figures.different >= wanted) {
            return false;
        }
        Count(every, figures);
        if (every.IsLost()) {
            OnProblem("the threads do not what they did before");
        }
    } while (every.Advance());
    return true;
}

void CRunner::Replay(const std::string& schedule) {
    tracing_ = true;
    WarmUp();
    CReplayChooser chooser(schedule);
    RunOnce(chooser);
    trace_.Print(std::cout);
    std::cout << "no problem" << std::endl;
}

void CRunner::OnProblem(const std::string& problem) {
    if (tracing_) {
        trace_.Print(std::cout);
    }
    const bool documented = scenario_.hangs && problem == "deadlock";
    std::cout << (documented ? "documented: " : "problem: ") << scenario_.name << ", schedule "
              << runs_ + 1 << ": " << problem << '\n'
              << scheduler_.DescribeThreads() << "  --scenario=" << scenario_.name << " --replay='"
              << chooser_->Name() << "'" << std::endl;
    _exit(documented ? kHangs : kProblem);
}

// What follows may find the memory in disorder; a second signal ends it then.
void CRunner::CatchCrashes() {
    running = this;
    runsNow = &runs_;
    tell = [](const char* problem) { running->OnProblem(problem); };
    for (const int number : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL}) {
        std::signal(number, [](int caught) {
            std::signal(caught, SIG_DFL);
            tell("a crash");
        });
    }
    std::signal(SIGALRM, [](int) {
        if (*runsNow == runsAtLastLook) {
            tell("a wait that the scheduler does not see");
        }
        runsAtLastLook = *runsNow;
    });
    const itimerval often{{kPatience, 0}, {kPatience, 0}};
    setitimer(ITIMER_REAL, &often, nullptr);
}

}  // namespace Kyr::Proofs::Schedules
