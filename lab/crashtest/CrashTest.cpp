#include "lab/crashtest/CrashTest.h"

#include <functional>
#include <random>
#include <stdexcept>
#include <thread>

namespace Kyr::Lab::CrashTest {

namespace {

constexpr std::uint64_t kBatch = 7;          // small, so that a life sees many batches
constexpr int kTriggers = 4;                 // of each kind in one life
constexpr std::uint64_t kMostAppended = 20;  // of each kind in one round
constexpr std::chrono::seconds kDrain(60);

const char* const kSteps[] = {"before-request", "after-reply", "after-publish", "before-offset",
                              "after-offset"};

using Microseconds = std::chrono::microseconds;

/// One world and what may happen to it.
class CRounds {
  public:
    CRounds(const Runner::Stage& stage, std::uint64_t seed) : world_(stage, kBatch), random_(seed) {
        world_.StartProduct();
    }

    /// The host dies at each step of a collection of each kind. Some of the steps are between a
    /// batch and its offset; where no kill met one, nothing was shown.
    void KillAtSteps(CrashReport& report) {
        for (const char* step : kSteps) {
            for (int kind = 1; kind <= 3; ++kind) {
                world_.Append(Number(1, kMostAppended));
                world_.StartHost({"--die-at=" + (step + (":" + std::to_string(kind)))});
                world_.Trigger(kTriggers);
                world_.AwaitKilledHost();
                ++report.stepKills;
            }
        }
        for (std::size_t i = 0; i < report.records.size(); ++i) {
            if (world_.Ledger(i).Counts().inFlight == 0) {
                throw std::runtime_error(std::string(kKinds[i].name) +
                                         ": no kill at a step met a batch in flight");
            }
        }
    }

    void KillHostAtRandom(CrashReport& report, int times) {
        for (int i = 0; i < times; ++i) {
            StartCollecting();
            std::this_thread::sleep_for(RandomMoment());
            world_.KillHost();
            ++report.randomKills;
        }
    }

    void KillBothAtRandom(CrashReport& report, int times) {
        for (int i = 0; i < times; ++i) {
            StartCollecting();
            std::this_thread::sleep_for(RandomMoment());
            if (Number(0, 1) == 0) {
                world_.KillProduct();
                std::this_thread::sleep_for(Microseconds(Number(0, 3000)));
                world_.KillHost();
            } else {
                world_.KillHost();
                world_.KillProduct();
            }
            world_.StartProduct();
            ++report.bothKills;
        }
    }

    /// The host lives through it: it waits, reconnects and goes on.
    void KillProductAtRandom(CrashReport& report, int times) {
        StartCollecting();
        for (int i = 0; i < times; ++i) {
            std::this_thread::sleep_for(RandomMoment());
            world_.KillProduct();
            world_.StartProduct();
            world_.Append(Number(1, kMostAppended));
            world_.Drain(kDrain);
            world_.Append(Number(1, kMostAppended));
            world_.Trigger(kTriggers);
            ++report.productKills;
        }
        world_.KillHost();
    }

    /// Lets everything come that is left, and counts.
    void Settle(CrashReport& report) {
        world_.StartHost();
        world_.Drain(kDrain);
        world_.QuitBoth();
        for (std::size_t i = 0; i < report.records.size(); ++i) {
            const CRecordLedger& ledger = world_.Ledger(i);
            report.records[i] = ledger.Counts();
            const std::uint64_t sent = report.records[i].sent;
            if (sent != world_.Appended() || ledger.Highest() != world_.Appended()) {
                throw std::runtime_error(std::string(kKinds[i].name) + ": of " +
                                         std::to_string(world_.Appended()) + " records " +
                                         std::to_string(sent) + " went out and " +
                                         std::to_string(ledger.Highest()) + " came");
            }
        }
    }

  private:
    std::uint64_t Number(std::uint64_t least, std::uint64_t most) {
        return std::uniform_int_distribution<std::uint64_t>(least, most)(random_);
    }

    /// Starts a host with records to fetch; returns, three times of four, when it fetches the first
    /// ones, and else at once.
    void StartCollecting() {
        world_.Append(Number(1, kMostAppended));
        world_.Collect(kTriggers);
        fetching_ = Number(0, 3) != 0 && world_.AwaitBatch();
    }

    /// Up to what all collections of one life take, or the way to the first one.
    Microseconds RandomMoment() { return Microseconds(Number(0, fetching_ ? 25000 : 80000)); }

    CWorld world_;
    std::mt19937_64 random_;
    bool fetching_ = false;
};

/// What is done in one of the worlds.
struct Share {
    const char* name;
    bool killsAtSteps;
    int randomKills;
    int bothKills;
    int productKills;
    CrashReport report;
};

/// Plays one world to its end; what goes wrong becomes a problem in its report.
void Play(const Runner::Stage& stage, std::uint64_t seed, Share& share) {
    CrashReport& report = share.report;
    try {
        CRounds rounds(stage, seed);
        if (share.killsAtSteps) {
            rounds.KillAtSteps(report);
        }
        rounds.KillHostAtRandom(report, share.randomKills);
        rounds.KillBothAtRandom(report, share.bothKills);
        if (share.productKills > 0) {
            rounds.KillProductAtRandom(report, share.productKills);
        }
        rounds.Settle(report);
    } catch (const std::exception& problem) {
        report.problems.push_back(std::string(share.name) + ": " + problem.what());
    }
}

}  // namespace

void CrashReport::Add(const CrashReport& other) {
    for (std::size_t i = 0; i < records.size(); ++i) {
        records[i] += other.records[i];
    }
    stepKills += other.stepKills;
    randomKills += other.randomKills;
    bothKills += other.bothKills;
    productKills += other.productKills;
    problems.insert(problems.end(), other.problems.begin(), other.problems.end());
}

CrashReport Run(const CrashPlan& plan, const Runner::CWorkFolder& folder) {
    Share shares[] = {
        {"steps", true, plan.randomKills - plan.randomKills / 2, 0, 0, {}},
        {"random", false, plan.randomKills / 2, plan.bothKills, 0, {}},
        {"product-1", false, 0, 0, plan.productKills - plan.productKills / 2, {}},
        {"product-2", false, 0, 0, plan.productKills / 2, {}},
    };
    // All folders first: one that cannot be made must not leave threads that play.
    std::vector<Runner::Stage> stages;
    for (const Share& share : shares) {
        Runner::Stage& stage = stages.emplace_back(plan.stage);
        stage.work = folder.EmptyFolder(share.name);
        stage.ports = folder.EmptyFolder(std::string(share.name) + "/ports");
    }
    std::vector<std::thread> threads;
    for (std::size_t world = 0; world < stages.size(); ++world) {
        threads.emplace_back(Play, stages[world], plan.seed + world, std::ref(shares[world]));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    CrashReport all;
    for (const Share& share : shares) {
        all.Add(share.report);
    }
    return all;
}

}  // namespace Kyr::Lab::CrashTest
