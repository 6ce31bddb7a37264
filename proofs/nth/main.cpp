// Lets everything that can fail fail, one after the other, until there is nothing left to fail;
// README.md says what a run shows.
#include <algorithm>
#include <iostream>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include <boost/make_shared.hpp>

#include "lab/common/CommandLine.h"
#include "proofs/common/LastWords.h"
#include "proofs/nth/BoundedClock.h"
#include "proofs/nth/HeldBlocks.h"
#include "proofs/nth/Life.h"
#include "proofs/nth/NativeFaults.h"
#include "tests/endurance/ProcessFigures.h"
#include "tests/endurance/Watchdog.h"
#include "tests/support/time/HurryingClock.h"

namespace {

using namespace Kyr::Proofs::Nth;
using Kyr::Endurance::CWatchdog;
using Kyr::Endurance::ProcessFigures;
using Kyr::Endurance::ReadProcessFigures;

constexpr int kHurry = 2000;  // ten seconds become five milliseconds
// Threads take turns as they like, so that a use may come in one life and not in the next. A sample
// does not look so closely, and takes fewer statuses.
constexpr int kLivesWithoutAStroke = 5;
constexpr std::uint32_t kStatusStepOfASample = 16;
constexpr std::uint64_t kLivesOfAProduct = 500;  // it remembers all tasks
constexpr std::uint64_t kMostProblems = 20;
constexpr std::uint64_t kFarthest = 5000;     // use of a place that is looked for by its name
constexpr std::uint64_t kLeastOfAll = 50000;  // faults, when all are tried

/// Uses of a place fail in each of these ways.
struct Series {
    Part part;
    Place place;
    std::uint64_t uses;
    std::uint32_t kind;
    Ports ports = Ports::kBoth;
};

/// From the last, which a sample must not leave out.
template <typename Act>
void ForSomeStatuses(std::uint32_t step, const Act& act) {
    for (auto status = static_cast<std::uint32_t>(Statuses().size()); status-- > 0;
         status -= std::min(status, step - 1)) {
        act(status);
    }
}

/// statusStep: only each so many of the statuses.
std::vector<Series> AllSeries(std::uint32_t statusStep) {
    std::vector<Series> all;
    for (const Part part : {Part::kWork, Part::kEnd}) {
        // Ten uses and more reach over what is done in their place when one has failed.
        for (const std::uint64_t uses : {std::uint64_t{1}, std::uint64_t{2}, std::uint64_t{3},
                                         std::uint64_t{10}, std::uint64_t{30}, kFromThenOn}) {
            for (const Place place :
                 {Place::kAllocation, Place::kMalloc, Place::kThread, Place::kLock}) {
                all.push_back({part, place, uses, 0});
            }
            for (const Place place :
                 {Place::kStoreRead, Place::kStoreWrite, Place::kPublish, Place::kLog}) {
                for (std::uint32_t kind = 0; kind < 3; ++kind) {
                    all.push_back({part, place, uses, kind});
                }
            }
        }
        for (const std::uint64_t uses : {std::uint64_t{1}, std::uint64_t{2}, kFromThenOn}) {
            // By what a wait for the area's mutex ends with; the others say "no".
            for (std::uint32_t kind = 0; kind < 3; ++kind) {
                all.push_back({part, Place::kAreaCall, uses, kind});
            }
            ForSomeStatuses(statusStep, [&](std::uint32_t status) {
                all.push_back({part, Place::kNativeCall, uses, status});
                all.push_back({part, Place::kExchange, uses, status});
            });
        }
    }
    // What another client does.
    for (const std::uint64_t uses : {std::uint64_t{1}, kFromThenOn}) {
        for (const Place place :
             {Place::kAllocation, Place::kMalloc, Place::kThread, Place::kLock}) {
            all.push_back({Part::kWork, place, uses, 0, Ports::kOlder});
        }
        ForSomeStatuses(statusStep, [&](std::uint32_t status) {
            all.push_back({Part::kWork, Place::kNativeCall, uses, status, Ports::kOlder});
            all.push_back({Part::kWork, Place::kExchange, uses, status, Ports::kOlder});
            all.push_back({Part::kEnd, Place::kNativeCall, uses, status, Ports::kOlder});
        });
    }
    return all;
}

class CProof {
  public:
    struct Choice {
        std::uint64_t every = 1;
        std::uint64_t first = 0;
        std::string place;        // only there, as a problem names it; empty: everywhere
        std::string only;         // a fault as a problem names it; empty: all
        std::size_t shares = 1;   // so many runs do all together
        std::size_t share = 0;    // and this is one of them
        int times = 1;            // that one so often
        std::uint64_t least = 0;  // faults that must have struck; 0: at least one

        bool IsWhole() const {
            return every == 1 && first == 0 && place.empty() && only.empty() && shares == 1;
        }
    };

    explicit CProof(Choice choice) : choice_(std::move(choice)) {}

    void Run() {
        WarmUp();
        const ProcessFigures before = Rest();
        std::size_t number = 0;
        for (const Series& series : AllSeries(IsSample() ? kStatusStepOfASample : 1)) {
            const bool isOfAnother = number++ % choice_.shares != choice_.share;
            if (isOfAnother || NameOf(series.place).find(choice_.place) == std::string::npos) {
                continue;
            }
            if (choice_.only.empty()) {
                RunSeries(series);
            } else {
                RunTheOnlyOne(series);
            }
        }
        const ProcessFigures after = Rest();
        if (before.Held() != after.Held()) {
            Tell("held before: " + before.Held() + "; after: " + after.Held());
        }
    }

    bool Report() const {
        const std::uint64_t least =
            std::max<std::uint64_t>(choice_.least, choice_.IsWhole() ? kLeastOfAll : 1);
        const bool passes = problems_ == 0 && strokes_ >= least;
        if (strokes_ < least) {
            std::cout << "problem: " << least << " faults were expected" << std::endl;
        }
        std::cout << "proof nth: " << strokes_ << " faults in " << lives_ << " lives, "
                  << forgotten_ << " blocks forgotten by protobuf, " << problems_
                  << " problems: " << (passes ? "PASS" : "FAIL") << std::endl;
        return passes;
    }

  private:
    static std::string Name(const Series& series, const Fault& fault) {
        return std::string(series.part == Part::kWork ? "at work" : "at its end") +
               (series.ports == Ports::kOlder ? ", older port: " : ": ") + Describe(fault);
    }

    void RunTheOnlyOne(const Series& series) {
        for (std::uint64_t nth = 1; nth <= kFarthest; ++nth) {
            const Fault fault{series.place, nth, series.uses, series.kind};
            if (Name(series, fault) == choice_.only) {
                for (int time = 0; time < choice_.times; ++time) {
                    RunLife(series, fault);
                }
            }
        }
    }

    void RunSeries(const Series& series) {
        if (IsSample() && IsUnused(series)) {
            return;
        }
        int missed = 0;
        const int patience = IsSample() ? 1 : kLivesWithoutAStroke;
        for (std::uint64_t nth = 1 + choice_.first; missed < patience; nth += choice_.every) {
            const bool struck = RunLife(series, {series.place, nth, series.uses, series.kind});
            missed = struck ? 0 : missed + 1;
            if (!struck && nth == 1) {
                unused_.insert({series.part, series.place, series.ports});
            }
            if (problems_ >= kMostProblems) {
                return;
            }
        }
    }

    bool IsUnused(const Series& series) const {
        return unused_.count({series.part, series.place, series.ports}) != 0;
    }

    bool RunLife(const Series& series, const Fault& fault) {
        watchdog_.Tell("a life");
        if (++lives_ % kLivesOfAProduct == 0 || product_.OpenPorts() != series.ports) {
            product_.Restart(series.ports);
        }
        const std::string what = Name(series, fault);
        Kyr::Proofs::Foresee(what);
        bool hasStruck = false;
        {
            CLife life(product_, clock_);
            for (const std::string& problem : life.Run(series.part, fault)) {
                Tell(what + ": " + problem);
                for (const std::string& line : life.Lines()) {
                    std::cout << "  " << line << '\n';
                }
            }
            hasStruck = life.HasStruck();
        }
        strokes_ += hasStruck ? 1 : 0;
        ExpectNothingHeld(what, hasStruck && fault.place == Place::kAllocation);
        return hasStruck;
    }

    /// What a first life keeps is made once, as tables are; after that a life keeps nothing.
    void WarmUp() {
        const Fault none{Place::kAllocation, 1, 0, 0};
        CLife(product_, clock_).Run(Part::kWork, none);
        TakeBlocks();
        RunLife({Part::kWork, none.place, 0, 0}, none);
    }

    // Each stroke may make protobuf forget one block, and nobody anything else.
    void ExpectNothingHeld(const std::string& what, bool memoryWasWanting) {
        std::uint64_t forgotten = 0;
        for (const HeldBlock& block : TakeBlocks()) {
            if (memoryWasWanting && IsForgottenByProtobuf(block) && ++forgotten <= Strokes()) {
                continue;
            }
            Tell(what + ": a block of " + std::to_string(block.room) + " bytes is held");
            for (const std::string& function : block.way) {
                std::cout << "  " << function << '\n';
            }
        }
        forgotten_ += forgotten;
    }

    bool IsSample() const { return choice_.every != 1; }

    ProcessFigures Rest() {
        product_.Restart(Ports::kBoth);
        ProcessFigures figures = ReadProcessFigures();
        for (int same = 0; same < 10; ++same) {
            boost::this_thread::sleep_for(boost::chrono::milliseconds(10));
            const ProcessFigures next = ReadProcessFigures();
            same = next.Held() == figures.Held() ? same : -1;
            figures = next;
        }
        return figures;
    }

    void Tell(const std::string& problem) {
        ++problems_;
        std::cout << "problem: " << problem << std::endl;
    }

    const Choice choice_;
    CWatchdog watchdog_;
    CProduct product_;
    const boost::shared_ptr<CBoundedClock> clock_ =
        boost::make_shared<CBoundedClock>(boost::make_shared<Kyr::Test::CHurryingClock>(kHurry));
    std::set<std::tuple<Part, Place, Ports>> unused_;  // places that do nothing in that part
    std::uint64_t lives_ = 0;
    std::uint64_t strokes_ = 0;
    std::uint64_t forgotten_ = 0;
    std::uint64_t problems_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    CProof::Choice choice;
    CLI::App app("Lets everything that can fail fail, one after the other.", "proof_nth");
    app.add_option("--every", choice.every, "only each so many of the uses of a place; 1: all")
        ->check(CLI::PositiveNumber);
    app.add_option("--first", choice.first, "how many uses are left out before the first");
    app.add_option("--place", choice.place, "only faults of that place: allocation, lock creation");
    app.add_option("--only", choice.only,
                   "only the fault that a problem names: \"at work: publish 3, kind 1\"");
    app.add_option("--times", choice.times, "how often, with --only");
    app.add_option("--shares", choice.shares, "how many runs try all of it together")
        ->check(CLI::PositiveNumber);
    app.add_option("--share", choice.share, "which of them this one is, from 0");
    app.add_option("--at-least", choice.least,
                   "how many faults must have struck; 50,000 when all are tried, else 1");
    if (const auto code = Kyr::Lab::ReadCommandLine(app, argc, argv)) {
        return *code;
    }
    Kyr::Proofs::LeaveLastWords("nth");
    const CSurroundings surroundings;
    WatchAllocations();
    NoteBlocks();
    CProof proof(choice);
    proof.Run();
    return proof.Report() ? 0 : 1;
}
