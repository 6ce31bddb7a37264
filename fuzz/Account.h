// The account of a conversation: what the product has handed out and what became of it, step by
// step.
//
// A batch of records is stored as it was handed out, once, and then its offset moves over it: by
// that much, not before, and not unless it was stored. An offset that cannot be kept, or a batch
// that cannot be stored, leaves the next request where this one was. Actions go the same way, those
// that block, and the data miner is told in the end.
// An outcome that the product hands out is told, once, before the next; one that the bus has
// refused is told again, and may be lost with the module only. A task reaches the product and is
// done, or is given up and said to be so: behind two failures that were told, each after an attempt
// of its own, or by a host that stops before its module was connected. One that failed and will be
// tried again is neither. A
// policy reaches the product in its turn, again and again until the product has taken it; and a
// product that was just told who asks is given the last one before anything else.
//
// Threads: any. Errors: a broken promise ends the process, with a line that says which.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "host/kernel/IMessage.h"
#include "host/message/Task.h"
#include "logs/EventLog.h"

namespace Kyr::Fuzz {

[[noreturn]] void Broken(const char* promise);

enum class RecordKind { kIndicator, kTelemetry, kAction };

struct Outcome {
    std::string first;  // identifiers in their declared order
    std::string second;
    std::string third;
    std::uint32_t word;  // the product's: 0 and 1 are good, all others failures
};

/// How an answer of the product is taken.
enum class Verdict { kAccepted, kRefused, kUnclear };

class CAccount {
  public:
    using Records = std::vector<std::string>;
    using Message = boost::shared_ptr<Common::Kernel::IMessage>;

    /// What the module has read: the text of an offset, empty when it has none.
    void OffsetWasRead(const std::string& key, const std::string& text);
    /// `stored`: what must be stored of the batch. `all`: how many records it has.
    void HandedOut(RecordKind kind, std::uint64_t offset, const Records& stored, std::uint64_t all);
    /// The product gave an answer without records, of which nobody can say how it is taken: as none
    /// of any kind, perhaps, which may be stored.
    void AnsweredUnclearly();
    void Stored(RecordKind kind, const Records& records, bool kept);
    void OffsetWasSet(const std::string& key, const std::string& text);
    /// The store has thrown instead: nobody can tell that anything was kept.
    void OffsetWasNotSet(const std::string& key);
    void MinerWasTold();

    void OutcomeHandedOut(const Outcome& outcome);
    /// The product is asked for the next outcome.
    void ExpectOutcomeTold() const;

    /// `message` is on its way to the queue, when it is a task that can be reported.
    void Delivered(const Message& message);
    /// The product was sent that text.
    void Requested(const std::string& text, Verdict verdict);
    /// `kept`: the bus has taken it. Of what happened to a task nothing is told again.
    void Told(const Common::Message::Logs::CEventLog& event, bool kept = true);

    /// The host asks for the module's end.
    void HostStops();
    void Logged(const std::string& line);

    void PolicyDelivered(const std::string& text);
    /// A message of a policy's type that is none: as far as it has come, the module knows no policy
    /// that a product could be given.
    void NoPolicyDelivered();
    /// To the product.
    void PolicyCame(const std::string& text, Verdict verdict);
    /// The product was told who asks, and has taken it.
    void Met();
    /// The product is asked for something else than to take a policy.
    void ExpectNoPolicyDue() const;

    /// Nothing waits or fails any more: every task has ended, the last policy was taken.
    void ExpectAllIsDone() const;
    /// At least once.
    void ExpectStored(RecordKind kind, const std::string& record) const;
    /// The module is gone with all that it knew.
    void ProcessEnded();

    /// In the end. `queued`: what still waits; the last task before it may have been interrupted.
    void ExpectBalance(const std::vector<Message>& queued) const;

    /// How many records were stored, repetitions included, and how many outcomes were told.
    std::uint64_t StoredRecords(RecordKind kind) const;
    std::uint64_t ToldOutcomes() const;
    std::uint64_t GivenUpTasks() const;

  private:
    enum class Stage { kIdle, kHandedOut, kStored, kMoved };
    struct Collection {
        Stage stage = Stage::kIdle;
        bool unclear = false;
        std::string text;  // of the offset, as it was read
        Records batch;
        std::uint64_t all = 0;
        std::uint64_t stored = 0;
        std::set<std::string> kept;
    };
    struct Task {
        std::string userData;
        std::string third;
        std::optional<Verdict> verdict;  // the latest
        int refusals = 0;                // attempts that may have failed
        int failures = 0;                // that were told
        bool givenUp = false;

        bool HasEnded() const { return givenUp || (verdict && *verdict != Verdict::kRefused); }
    };
    struct Policy {
        std::string text;
        std::optional<Verdict> verdict;  // the latest

        bool MayBeDone() const { return verdict && *verdict != Verdict::kRefused; }
    };

    void EndTask(Task& task, const std::string& text) const;
    static void ExpectDealtWith(const Collection& collection);
    Collection& Of(RecordKind kind) { return collections_[static_cast<std::size_t>(kind)]; }
    Collection* Of(const std::string& key);

    mutable boost::mutex mutex_;  // guards everything below
    std::array<Collection, 3> collections_;
    std::optional<Outcome> outcome_;  // handed out and not yet told
    bool outcomeWasRefused_ = false;  // by the bus
    std::uint64_t toldOutcomes_ = 0;
    std::vector<Task> tasks_;
    bool hostStops_ = false;
    bool wasConnected_ = false;
    std::vector<Policy> policies_;  // of this process, in the order of their delivery
    std::size_t sentPolicies_ = 0;  // the last of them is what the module remembers
    bool mayKnowNone_ = false;
    bool policyIsDue_ = false;
};

}  // namespace Kyr::Fuzz
