// Who decides: every schedule with at most so many preemptions, one after the other; schedules
// drawn by a seed; one schedule again.
//
// A schedule's name says at which of its decisions something else than the first option was chosen:
// "17:1,40:2"; "0:0" is the schedule in which each thread goes on as long as it can.
// Threads: the one that the scheduler runs. Errors: none but what `IsLost` says.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "proofs/schedules/Scheduler.h"

namespace Kyr::Proofs::Schedules {

/// Keeps what was chosen.
class CRecordingChooser : public IChooser {
  public:
    std::size_t Choose(const std::vector<Option>& options) final;

    /// The next schedule begins.
    virtual void Begin();
    std::string Name() const;
    /// Of what was chosen.
    std::uint64_t Fingerprint() const { return fingerprint_; }
    /// How many decisions the schedule has had.
    std::uint64_t Decisions() const { return decisions_; }

  protected:
    CRecordingChooser();
    virtual std::size_t Decide(const std::vector<Option>& options) = 0;

  private:
    struct Entry {
        std::uint32_t decision;
        std::uint32_t choice;
    };

    std::vector<Entry> entries_;
    std::uint64_t decisions_ = 0;
    std::uint64_t fingerprint_ = 0;
};

/// Depth first: the last decision that has an option left takes it in the next schedule.
class CEveryChooser final : public CRecordingChooser {
  public:
    explicit CEveryChooser(int mostPreemptions);

    void Begin() override;
    /// Goes on to the next schedule. False: that was the last.
    bool Advance();
    /// A decision was not what it was before: threads did something that no decision explains.
    bool IsLost() const { return lost_; }

  private:
    struct Node {
        std::uint32_t choice;
        std::uint32_t count;  // of the options that may be chosen
    };

    std::size_t Decide(const std::vector<Option>& options) override;

    const int mostPreemptions_;
    int preemptions_ = 0;
    std::size_t depth_ = 0;
    bool lost_ = false;
    std::vector<Node> path_;
};

/// Of two kinds, in turn: threads have priorities, and at a few decisions who runs loses his; or at
/// each decision, with a chance that is drawn for the schedule, anybody goes on.
class CRandomChooser final : public CRecordingChooser {
  public:
    /// `usualDecisions`: how many a schedule has, about.
    CRandomChooser(std::uint64_t seed, std::uint64_t usualDecisions);

    void Begin() override;

  private:
    std::size_t Decide(const std::vector<Option>& options) override;
    std::size_t ByPriority(const std::vector<Option>& options);
    std::uint64_t Draw(std::uint64_t below) { return random_() % below; }

    std::mt19937_64 random_;
    const std::uint64_t usualDecisions_;
    std::uint64_t schedules_ = 0;
    std::uint64_t decision_ = 0;
    bool byPriority_ = false;
    std::uint64_t rarity_ = 1;                // of a decision for somebody else
    std::array<std::uint64_t, 8> changes_{};  // decisions at which the runner falls behind
    std::array<std::uint64_t, CScheduler::kMostThreads> priorities_{};
    std::uint64_t lowest_ = 0;
};

class CReplayChooser final : public CRecordingChooser {
  public:
    /// Throws std::exception when `name` is none.
    explicit CReplayChooser(const std::string& name);

    void Begin() override;

  private:
    std::size_t Decide(const std::vector<Option>& options) override;

    std::vector<std::pair<std::uint64_t, std::size_t>> choices_;
    std::size_t next_ = 0;
    std::uint64_t decision_ = 0;
};

}  // namespace Kyr::Proofs::Schedules
