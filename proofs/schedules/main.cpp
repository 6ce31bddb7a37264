// Runs the threads of the module in every order that matters, or in very many; README.md says what
// a run shows. Each scenario has a process of its own, each schedule a life of the module.
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "lab/common/CommandLine.h"
#include "proofs/common/Processor.h"
#include "proofs/schedules/Runner.h"

namespace {

using namespace Kyr::Proofs::Schedules;

// What a run of all scenarios must reach, unless it was asked for less.
constexpr std::uint64_t kWholeRun = 1000000;

struct Options {
    std::uint64_t schedules = 1050000;
    std::uint64_t seed = 1;
    unsigned jobs = 0;
    std::string scenario;
    std::string replay;
};

class CProof {
  public:
    CProof(const Options& options, std::vector<const Scenario*> scenarios)
        : options_(options),
          scenarios_(std::move(scenarios)),
          figures_(static_cast<Figures*>(mmap(nullptr, sizeof(Figures) * scenarios_.size(),
                                              PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                                              -1, 0))) {
        if (figures_ == MAP_FAILED) {
            std::perror("mmap");
            std::exit(Kyr::Lab::kBadCommandLine);
        }
    }

    bool Run() {
        std::size_t next = 0;
        while (next < scenarios_.size() || !running_.empty()) {
            if (next < scenarios_.size() && running_.size() < options_.jobs) {
                Begin(next++);
            } else {
                AwaitOne();
            }
        }
        return Report();
    }

  private:
    void Begin(std::size_t index) {
        const unsigned processor =
            free_.empty() ? static_cast<unsigned>(running_.size()) : free_.back();
        if (!free_.empty()) {
            free_.pop_back();
        }
        std::cout.flush();
        const pid_t child = fork();
        if (child == 0) {
            Kyr::Proofs::StayOnProcessor(processor);
            CRunner runner(*scenarios_[index], options_.seed + index);
            runner.Run(options_.schedules / scenarios_.size(), figures_[index]);
            _exit(kFine);
        }
        running_[child] = {index, processor};
    }

    void AwaitOne() {
        int status = 0;
        const pid_t child = wait(&status);
        const auto [index, processor] = running_.at(child);
        running_.erase(child);
        free_.push_back(processor);
        const Scenario& scenario = *scenarios_[index];
        const Figures& figures = figures_[index];
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : kProblem;
        problems_ += code == (scenario.hangs ? kHangs : kFine) ? 0 : 1;
        if (code == kFine && scenario.hangs) {
            std::cout << "problem: " << scenario.name << " does not hang as documented\n";
        }
        different_ += figures.different;
        schedules_ += figures.schedules;
        std::cout << scenario.name << ": " << figures.schedules << " schedules, "
                  << figures.different << " different, "
                  << (figures.schedules == 0 ? 0 : figures.steps / figures.schedules)
                  << " steps each; every one with " << figures.preemptions << " preemptions"
                  << std::endl;
    }

    bool Report() {
        if (options_.schedules >= kWholeRun && options_.scenario.empty() &&
            different_ < kWholeRun) {
            std::cout << "problem: fewer than " << kWholeRun << " different schedules\n";
            ++problems_;
        }
        std::cout << "proof schedules: " << different_ << " different schedules of "
                  << scenarios_.size() << " scenarios, " << schedules_ << " run, " << problems_
                  << " problems: " << (problems_ == 0 ? "PASS" : "FAIL") << std::endl;
        return problems_ == 0;
    }

    struct Running {
        std::size_t index;
        unsigned processor;
    };

    const Options options_;
    const std::vector<const Scenario*> scenarios_;
    Figures* const figures_;  // shared with the processes of the scenarios
    std::map<pid_t, Running> running_;
    std::vector<unsigned> free_;  // processors
    std::uint64_t schedules_ = 0;
    std::uint64_t different_ = 0;
    int problems_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.jobs = std::max(1u, std::thread::hardware_concurrency());
    CLI::App app("Lets the module's threads run in all kinds of orders.", "proof_schedules");
    app.add_option("--schedules", options.schedules, "how many different ones, of all scenarios");
    app.add_option("--seed", options.seed, "of those that are drawn");
    app.add_option("--jobs", options.jobs, "scenarios at a time")->check(CLI::PositiveNumber);
    app.add_option("--scenario", options.scenario, "only this one");
    CLI::Option* const replay =
        app.add_option("--replay", options.replay, "a schedule of the scenario, again, and told");
    if (const auto code = Kyr::Lab::ReadCommandLine(app, argc, argv)) {
        return *code;
    }
    std::vector<const Scenario*> scenarios;
    for (const Scenario& scenario : AllScenarios()) {
        if (options.scenario.empty() || options.scenario == scenario.name) {
            scenarios.push_back(&scenario);
        }
    }
    if (scenarios.empty() || (replay->count() != 0 && scenarios.size() != 1)) {
        std::cerr << "which scenario?\n";
        return Kyr::Lab::kBadCommandLine;
    }
    if (replay->count() != 0) {
        Kyr::Proofs::StayOnProcessor(0);
        CRunner(*scenarios.front(), options.seed).Replay(options.replay);
        return 0;
    }
    return CProof(options, scenarios).Run() ? 0 : 1;
}
