// The account of what a scenario should come to and of what came, kept outside of host and product,
// line by line as the journal has them.
//
// - A record is stored as the product has it, byte for byte, in order, and a second time only when
//   it was in the batch behind which its host died; the stored position is never ahead.
// - A task reaches the product or is given up; it is carried out once, and once more at most for
//   each new life of either; what is told of it has happened before.
// - An attempt at a task fails only when a product dies or is stopped, once each time. A task is
//   given up in the host's life that has told two such failures, or by a host that is stopped
//   before it is connected.
// - An outcome is told once, and before the next is handed out. Lost may be the one that was handed
//   out and not yet told when host or product died, or one that went to a host that was dead by
//   then; no other.
// - A policy comes as it is, to each life of the product to which a host has connected, and a
//   configuration is one that the product had.
// - The reply to a kill or block goes to the receiver of the request before it, which takes it for
//   one more of its own (docs/life-of-a-message.md): behind an export it is one more configuration,
//   an empty one, and the export is told as done once more; behind a policy it is one more line;
//   behind a protection status the attempt fails, and the product has the task once more.
//
// Threads: one at a time. Errors: what is wrong is a sentence in Problems.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lab/common/LineProtocol.h"
#include "lab/crashtest/RecordLedger.h"
#include "proofs/kill/Scenario.h"
#include "tests/endurance/TaskLedger.h"

namespace Kyr::Proofs::Kill {

class CAccount {
  public:
    static constexpr std::size_t kKinds = Lab::SimProduct::kRecordKinds.size();

    explicit CAccount(const Scenario& scenario);

    /// The identifier of a new task.
    std::string AddTask(const std::string& kind);

    /// REQUIRES: in the order of the journal, one's last lines before its end.
    void Enter(const Lab::CLine& line);
    void NoteStart() { ++starts_; }
    void NoteDeath(bool ofHost);
    /// Somebody is told to stop.
    void NoteStop(bool ofHost);
    /// Behind everything that a host has done in its life.
    void CloseHostLife();

    /// Nothing is left to do, nor on its way.
    bool IsComplete() const;
    bool IsConnecting() const { return connecting_; }
    bool HasWorked() const { return worked_; }
    /// REQUIRES: nobody works any more.
    void Close();

    const std::vector<std::string>& Problems() const { return problems_; }
    const Lab::CrashTest::CRecordLedger& Ledger(std::size_t kind) const { return records_[kind]; }
    std::uint64_t Tasks() const { return tasks_.size(); }
    /// With whoever died.
    std::uint64_t LostOutcomes() const { return lostOutcomes_ + (untold_ ? 1 : 0); }

  private:
    struct Task {
        std::string kind;
        std::uint64_t deeds = 0;
        std::uint64_t done = 0;      // of what was handed out
        std::uint64_t toldDone = 0;  // of what was told
        bool ended = false;          // something that is no other attempt was told
        int failures = 0;            // told in this life of the host
        bool behindStatus = false;   // its last request, so that the status' receiver has the reply
        std::uint64_t overheard = 0;  // attempts that failed for that
    };

    /// Handed out and not told.
    struct Untold {
        std::string task;
        bool mayBeLost;
    };

    void Expect(bool holds, const std::string& otherwise);
    void CloseRecords(std::size_t kind);
    void EnterRequest(const std::string& name);
    void EnterDeed(const Lab::CLine& line);
    void EnterTold(const Lab::CLine& line);
    void EnterFailure(Task& task, const std::string& text);
    void Reach(const std::string& identifier);
    void HandOut(const std::string& identifier, bool done);
    void HandOutOutcome(const std::string& identifier);

    const Scenario& scenario_;
    std::array<Lab::CrashTest::CRecordLedger, kKinds> records_;
    std::array<std::vector<std::string>, kKinds> stored_;  // since the position was moved
    std::array<std::uint64_t, kKinds> positions_{};
    Endurance::CTaskLedger ledger_;
    std::map<std::string, Task> tasks_;
    std::string exportTask_;
    std::set<std::string> configurations_;  // that the product has had
    std::uint64_t imports_ = 0;
    std::uint64_t toldImports_ = 0;
    bool productWasMet_ = false;     // in its last life, by a host that has connected
    bool productHasPolicy_ = false;  // since then
    std::uint64_t exports_ = 0;      // configurations that were published
    std::uint64_t toldExports_ = 0;
    std::string receiver_;       // whose request installed the last one
    std::uint64_t waiting_ = 0;  // outcomes that nobody has fetched
    std::optional<Untold> untold_;
    std::uint64_t lostOutcomes_ = 0;
    bool askerIsDead_ = false;  // no host has connected since one died
    std::uint64_t starts_ = 0;
    std::uint64_t failures_ = 0;  // of attempts at tasks
    std::uint64_t breaks_ = 0;    // a product that died or stopped
    bool hostStops_ = false;      // it was told to
    bool hostIsConnected_ = false;
    bool connecting_ = false;
    bool worked_ = false;
    std::vector<std::string> problems_;
};

}  // namespace Kyr::Proofs::Kill
