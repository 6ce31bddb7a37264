// Kills host and product at every call that either makes, one after the other, in each scenario;
// README.md says what a run shows.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <new>
#include <random>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lab/common/CommandLine.h"
#include "lab/common/CommandWords.h"
#include "proofs/kill/World.h"

namespace {

using namespace Kyr::Proofs::Kill;
using std::chrono::microseconds;

struct Options {
    std::uint64_t every = 1;
    std::uint64_t first = 0;
    std::uint64_t pairs = 2000;
    std::uint64_t random = 2000;
    std::uint32_t workers = 2;
    std::uint32_t realWorlds = 48;
    std::uint64_t seed = 1;
    std::uint64_t least = 0;  // points that must have been met; 0: one
    std::string scenario;
    std::string point;

    bool IsWhole() const { return every == 1 && first == 0 && scenario.empty() && point.empty(); }
};

// Threads take turns as they like, so that a moment may come in one life and not in the next.
constexpr int kLivesWithoutADeath = 5;
constexpr std::size_t kKillsAtRandom = 4;  // in one play
constexpr std::uint64_t kMostProblems = 20;
constexpr std::uint64_t kLeastOfAll = 10000;  // points, when all are tried

/// The sums of all worlds, in memory that they share.
struct Totals {
    std::atomic<std::uint64_t> plays{0};
    std::atomic<std::uint64_t> points[kRoles]{};
    std::atomic<std::uint64_t> pairs{0};
    std::atomic<std::uint64_t> random{0};
    std::atomic<std::uint64_t> lives{0};
    std::atomic<std::uint64_t> stored{0};
    std::atomic<std::uint64_t> twice{0};
    std::atomic<std::uint64_t> inFlight[3]{};
    std::atomic<std::uint64_t> tasks{0};
    std::atomic<std::uint64_t> lostOutcomes{0};
    std::atomic<std::uint64_t> problems{0};
};

Totals& MakeTotals() {
    void* const memory =
        ::mmap(nullptr, sizeof(Totals), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return *new (memory) Totals;
}

/// What one world does with its share of the plays.
class CWorker {
  public:
    CWorker(const Options& options, Totals& totals, std::uint32_t number, std::uint32_t all,
            const std::string& folder, bool realTime)
        : options_(options),
          totals_(totals),
          number_(number),
          all_(all),
          random_(options.seed * 1000 + number),
          world_(folder, realTime) {}

    /// Every moment of each life, `every` by `every`.
    void KillOnce() {
        ForEachScenario([this](const Scenario& scenario) {
            for (const Role role : {Role::kHost, Role::kProduct}) {
                const std::uint64_t step = options_.every * all_;
                const int patience = options_.every == 1 ? kLivesWithoutADeath : 1;
                std::uint64_t moment = 1 + options_.first + number_ * options_.every;
                for (int missed = 0; missed < patience && !IsEnough(); moment += step) {
                    const bool struck = Play(scenario, {{role, moment, {}}}) == 1;
                    missed = struck ? 0 : missed + 1;
                    totals_.points[static_cast<std::size_t>(role)] += struck ? 1 : 0;
                }
            }
        });
    }

    /// At a moment of a life, and at one of the recovery from that.
    void KillTwice() {
        if (options_.pairs == 0) {
            return;
        }
        std::vector<std::array<std::uint64_t, kRoles>> moments;
        ForEachScenario([&](const Scenario& scenario) {
            Play(scenario, {});
            moments.push_back({last_.moments[0], last_.moments[1]});
        });
        while (totals_.pairs < options_.pairs && !IsEnough()) {
            std::size_t place = 0;
            ForEachScenario([&](const Scenario& scenario) {
                const auto& most = moments[place++];
                const auto kill = [&]() -> Kill {
                    const Role role = Number(0, 1) == 0 ? Role::kHost : Role::kProduct;
                    return {role, Number(1, most[static_cast<std::size_t>(role)]), {}};
                };
                const std::vector<Kill> kills = {kill(), kill()};
                if (totals_.pairs < options_.pairs) {
                    totals_.pairs += Play(scenario, kills) == kills.size() ? 1 : 0;
                }
            });
        }
    }

    /// By time: where nobody makes a call, too.
    void KillAtRandom() {
        while (totals_.random < options_.random && !IsEnough()) {
            ForEachScenario([&](const Scenario& scenario) {
                std::vector<Kill> kills;
                while (kills.size() < kKillsAtRandom) {
                    // From the first call to the outcome of the last task, which takes the watch
                    // ten seconds; the most happens in the beginning.
                    constexpr std::uint64_t kSpans[] = {20000, 60000, 1000000, 12000000};
                    kills.push_back({Number(0, 1) == 0 ? Role::kHost : Role::kProduct, 0,
                                     microseconds(Number(1, kSpans[Number(0, 3)]))});
                }
                if (totals_.random < options_.random) {
                    totals_.random += Play(scenario, kills);
                }
            });
        }
    }

    /// The one point that was asked for, with its story.
    void PlayPoint(const std::vector<Kill>& kills) {
        ForEachScenario([&](const Scenario& scenario) {
            totals_.points[0] += Play(scenario, kills);
            Tell("");
        });
    }

  private:
    template <typename Do>
    void ForEachScenario(const Do& act) {
        for (const Scenario& scenario : AllScenarios()) {
            if (options_.scenario.empty() || options_.scenario == scenario.name) {
                act(scenario);
            }
        }
    }

    bool IsEnough() const { return totals_.problems >= kMostProblems; }

    /// How many of the kills came.
    std::size_t Play(const Scenario& scenario, const std::vector<Kill>& kills) {
        last_ = world_.Play(scenario, kills);
        ++totals_.plays;
        totals_.lives += last_.lives;
        totals_.stored += last_.stored;
        totals_.twice += last_.twice;
        for (std::size_t kind = 0; kind < 3; ++kind) {
            totals_.inFlight[kind] += last_.inFlight[kind];
        }
        totals_.tasks += last_.tasks;
        totals_.lostOutcomes += last_.lostOutcomes;
        totals_.problems += last_.problems.size();
        if (!last_.problems.empty()) {
            std::string point;
            for (const Kill& kill : kills) {
                point += (point.empty() ? "" : ",") + TextOf(kill);
            }
            std::string text;
            for (const std::string& problem : last_.problems) {
                text += std::string("problem: --scenario=") + scenario.name + " --point=" + point +
                        ": " + problem + '\n';
            }
            Tell(text);
        }
        return last_.deaths.size();
    }

    /// At once, since others write as well.
    void Tell(const std::string& problems) const {
        std::string text = problems;
        for (const std::string& death : last_.deaths) {
            text += "  killed: " + death + '\n';
        }
        for (const std::string& line : world_.Story()) {
            text += "  " + line.substr(0, 200) + '\n';
        }
        (void)!::write(STDOUT_FILENO, text.data(), text.size());
    }

    std::uint64_t Number(std::uint64_t least, std::uint64_t most) {
        return std::uniform_int_distribution<std::uint64_t>(least, most)(random_);
    }

    const Options& options_;
    Totals& totals_;
    const std::uint32_t number_;
    const std::uint32_t all_;
    std::mt19937_64 random_;
    CWorld world_;
    Played last_;
};

/// A folder in memory: what outlives a process need not outlive the machine, and nobody waits for a
/// disk.
std::string MakeRoot() {
    char root[] = "/dev/shm/proof_kill.XXXXXX";
    if (::mkdtemp(root) == nullptr) {
        throw std::runtime_error("no folder below /dev/shm");
    }
    return root;
}

/// Lets that many processes, each with a world of its own, do the same. `name` tells their folders
/// from others.
void StartWork(const Options& options, Totals& totals, const std::string& root, const char* name,
               std::uint32_t count, bool realTime, const std::function<void(CWorker&)>& work) {
    std::cout << std::flush;
    for (std::uint32_t number = 0; number < count; ++number) {
        if (::fork() != 0) {
            continue;
        }
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::prctl(PR_SET_TIMERSLACK, 1000);
        const std::string folder = root + '/' + name + std::to_string(number);
        ::mkdir(folder.c_str(), 0700);
        try {
            CWorker worker(options, totals, number, count, folder, realTime);
            work(worker);
        } catch (const std::exception& problem) {
            std::fprintf(stderr, "problem: %s\n", problem.what());
            ::_exit(1);
        }
        ::_exit(0);
    }
}

/// False: one of them ended in another way than it should.
bool AwaitWork() {
    bool good = true;
    int status = 0;
    while (::wait(&status) > 0) {
        good = good && status == 0;
    }
    return good;
}

std::vector<Kill> ReadPoint(const std::string& text) {
    std::vector<Kill> kills;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');) {
        const std::size_t colon = part.find(':');
        const Role role = part.substr(0, colon) == "host" ? Role::kHost : Role::kProduct;
        std::string number = part.substr(colon + 1);
        const bool isTime = number.size() > 2 && number.substr(number.size() - 2) == "us";
        if (isTime) {
            number.resize(number.size() - 2);
        }
        const std::uint64_t value = Kyr::Lab::ParseNumber(number);
        kills.push_back({role, isTime ? 0 : value, microseconds(isTime ? value : 0)});
    }
    return kills;
}

bool Report(const Options& options, Totals& totals) {
    // A run that met no batch on its way has shown nothing of it.
    for (std::size_t kind = 0; options.IsWhole() && kind < 3; ++kind) {
        if (totals.inFlight[kind] == 0) {
            std::cout << "problem: no kill met a batch in flight of kind " << kind << '\n';
            ++totals.problems;
        }
    }
    const std::uint64_t points = totals.points[0] + totals.points[1];
    const std::uint64_t least =
        std::max<std::uint64_t>(options.least, options.IsWhole() ? kLeastOfAll : 1);
    if (points < least && options.point != "none") {
        std::cout << "problem: " << least << " points were expected\n";
        ++totals.problems;
    }
    const auto tell = [](const char* name, std::uint64_t number) {
        std::cout << name << ": " << number << '\n';
    };
    tell("plays", totals.plays);
    tell("lives of host and product", totals.lives);
    tell("kills of the host, one a play", totals.points[0]);
    tell("kills of the product, one a play", totals.points[1]);
    tell("second kills", totals.pairs);
    tell("kills at random, in real time", totals.random);
    tell("records stored", totals.stored);
    tell("of them a second time", totals.twice);
    tell("batches in flight", totals.inFlight[0] + totals.inFlight[1] + totals.inFlight[2]);
    tell("tasks", totals.tasks);
    std::cout << "proof kill: " << points << " points, " << totals.pairs << " second kills, "
              << totals.random << " at random, " << totals.lostOutcomes
              << " outcomes lost with whoever died, " << totals.problems
              << " problems: " << (totals.problems == 0 ? "PASS" : "FAIL") << std::endl;
    return totals.problems == 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Kills host and product at every call that either makes.", "proof_kill");
    app.add_option("--every", options.every, "only each so many of the moments; 1: all")
        ->check(CLI::PositiveNumber);
    app.add_option("--first", options.first, "how many moments are left out before the first");
    app.add_option("--pairs", options.pairs, "how many second kills, during the recovery");
    app.add_option("--random", options.random, "how many kills at random, in real time");
    app.add_option("--workers", options.workers, "how many worlds at once");
    app.add_option("--real-worlds", options.realWorlds, "how many at once in real time");
    app.add_option("--seed", options.seed, "of what is drawn");
    app.add_option("--at-least", options.least,
                   "how many points must have been met; 10,000 when all are tried, else 1");
    app.add_option("--scenario", options.scenario, "only that one");
    app.add_option("--point", options.point,
                   "one play with its story: host:<moment> or product:<moment>, with `us` a time, "
                   "several behind commas");
    if (const auto code = Kyr::Lab::ReadCommandLine(app, argc, argv)) {
        return *code;
    }
    Totals& totals = MakeTotals();
    const std::string root = MakeRoot();
    if (!options.point.empty()) {
        const auto kills = ReadPoint(options.point == "none" ? "" : options.point);
        const bool isReal = !kills.empty() && kills.front().moment == 0;
        StartWork(options, totals, root, "point", 1, isReal,
                  [&](CWorker& worker) { worker.PlayPoint(kills); });
    } else {
        std::cout << "seed " << options.seed << '\n';
        // Those in real time wait most of it.
        StartWork(options, totals, root, "real", options.realWorlds, true,
                  [](CWorker& worker) { worker.KillAtRandom(); });
        StartWork(options, totals, root, "world", options.workers, false, [](CWorker& worker) {
            worker.KillOnce();
            worker.KillTwice();
        });
    }
    const bool good = AwaitWork();
    std::filesystem::remove_all(root);
    if (!good) {
        std::cout << "problem: a world has ended by itself\n";
        ++totals.problems;
    }
    return Report(options, totals) ? 0 : 1;
}
