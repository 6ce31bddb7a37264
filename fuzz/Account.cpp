#include "fuzz/Account.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include <boost/thread/lock_guard.hpp>

#include "host/logs/Symbols.h"

namespace Kyr::Fuzz {

namespace {

namespace Symbol = Common::Logs::Symbols::Task;
using Guard = boost::lock_guard<boost::mutex>;

const char* const kOffsetKeys[] = {"XDR_OFFSET", "XDR_TELEMETRY_OFFSET", "OV_REMEDIATION_OFFSET"};

/// What a task event says besides its identifiers. Numbers of the host.
struct Event {
    std::int32_t status;
    std::uint64_t code;
    std::int64_t severity;
    const char* text;  // nothing: any
};
constexpr Event kWillBeTriedAgain = {1, 0x10000000C, 20, nullptr};
constexpr Event kGivenUp = {4, 0x10000009B, 40, nullptr};
constexpr Event kOutcomes[] = {
    {1, 0x10000000A, 20, ""}, {1, 0x10000000B, 30, ""}, {4, 0x10000000C, 40, "Task failed"}};

std::string DescriptionOf(const Common::Message::Logs::CEventLog& log) {
    const auto& symbols = log.GetSymbols();
    return symbols->HasSymbol(Symbol::kDescription) ? symbols->GetString(Symbol::kDescription)
                                                    : std::string();
}

// What a module says when it gives up a task, and when it is connected.
constexpr char kRetriesExhausted[] =
    "Message task was canceled because maximum retry count was reached";
constexpr char kProductNotAvailable[] =
    "Message task was canceled because product is not available";
constexpr char kConnected[] = "Connected to product, processing tasks";
constexpr int kFailuresOfATask = 2;

bool Says(const Common::Message::Logs::CEventLog& log, const Event& event) {
    const auto& symbols = log.GetSymbols();
    return symbols->GetInt32(Symbol::kStatus) == event.status &&
           symbols->GetResourceId(Symbol::kOutcome) == event.code &&
           symbols->GetInt64(Symbol::kSeverity) == event.severity &&
           (event.text == nullptr || DescriptionOf(log) == event.text);
}

std::string Identifier(const Common::Message::Logs::CEventLog& log, std::int32_t symbol) {
    return log.GetSymbols()->GetUuid(symbol).uuid();
}

/// The number that such a text means to the module; nothing for one that is none.
std::optional<std::uint64_t> OffsetOf(const std::string& text) {
    char* end = nullptr;
    const std::uint64_t value = std::strtoull(text.c_str(), &end, 10);
    return *end == '\0' ? std::optional(value) : std::nullopt;
}

boost::shared_ptr<Common::Message::CTask> TaskOf(const CAccount::Message& message) {
    return boost::dynamic_pointer_cast<Common::Message::CTask>(message);
}

}  // namespace

void Broken(const char* promise) {
    std::fprintf(stderr, "conversation: %s\n", promise);
    std::abort();
}

void CAccount::ExpectDealtWith(const Collection& collection) {
    if (collection.stage != Stage::kIdle && !collection.unclear) {
        Broken("a batch that was handed out was not dealt with");
    }
}

CAccount::Collection* CAccount::Of(const std::string& key) {
    const auto* const found = std::find(std::begin(kOffsetKeys), std::end(kOffsetKeys), key);
    return found == std::end(kOffsetKeys) ? nullptr : &collections_[found - kOffsetKeys];
}

void CAccount::OffsetWasRead(const std::string& key, const std::string& text) {
    const Guard guard(mutex_);
    if (Collection* const collection = Of(key)) {
        collection->text = text;
    }
}

void CAccount::HandedOut(RecordKind kind, std::uint64_t offset, const Records& stored,
                         std::uint64_t all) {
    const Guard guard(mutex_);
    Collection& collection = Of(kind);
    ExpectDealtWith(collection);
    if (OffsetOf(collection.text) != offset) {
        Broken("records were asked for from another offset than the stored one");
    }
    // Actions of which none blocks are left where they are.
    collection.stage =
        kind == RecordKind::kAction && stored.empty() ? Stage::kIdle : Stage::kHandedOut;
    collection.unclear = false;
    collection.batch = stored;
    collection.all = all;
}

void CAccount::AnsweredUnclearly() {
    const Guard guard(mutex_);
    for (Collection& collection : collections_) {
        ExpectDealtWith(collection);
        collection.stage = Stage::kHandedOut;
        collection.unclear = true;
        collection.batch.clear();
        collection.all = 0;
    }
}

void CAccount::Stored(RecordKind kind, const Records& records, bool kept) {
    const Guard guard(mutex_);
    Collection& collection = Of(kind);
    if (collection.stage != Stage::kHandedOut) {
        Broken("records were stored that nobody has just handed out");
    }
    if (records != collection.batch) {
        Broken("other records were stored than were handed out");
    }
    collection.stage = kept ? Stage::kStored : Stage::kIdle;
    if (kept) {
        collection.stored += records.size();
        collection.kept.insert(records.begin(), records.end());
    }
}

void CAccount::OffsetWasSet(const std::string& key, const std::string& text) {
    const Guard guard(mutex_);
    Collection* const collection = Of(key);
    if (collection == nullptr) {
        return;
    }
    if (collection->stage != Stage::kStored) {
        Broken("an offset was moved over records that are not stored");
    }
    if (const auto offset = OffsetOf(collection->text);
        !offset || text != std::to_string(*offset + collection->all)) {
        Broken("an offset was moved by more or less than its batch");
    }
    collection->stage = collection == &Of(RecordKind::kAction) ? Stage::kMoved : Stage::kIdle;
}

void CAccount::OffsetWasNotSet(const std::string& key) {
    const Guard guard(mutex_);
    if (Collection* const collection = Of(key)) {
        collection->stage = Stage::kIdle;
    }
}

void CAccount::MinerWasTold() {
    const Guard guard(mutex_);
    Collection& collection = Of(RecordKind::kAction);
    if (collection.stage != Stage::kMoved) {
        Broken("the data miner was told of actions that did not come");
    }
    collection.stage = Stage::kIdle;
}

void CAccount::OutcomeHandedOut(const Outcome& outcome) {
    const Guard guard(mutex_);
    outcome_ = outcome;
    outcomeWasRefused_ = false;
}

void CAccount::ExpectOutcomeTold() const {
    const Guard guard(mutex_);
    if (outcome_) {
        Broken("an outcome was not told");
    }
}

void CAccount::Delivered(const Message& message) {
    const auto task = TaskOf(message);
    if (!task) {
        return;
    }
    const Guard guard(mutex_);
    const std::string third = task->GetThirdIdentifier().uuid();
    tasks_.push_back(
        {task->GetFirstIdentifier().uuid() + ';' + task->GetSecondIdentifier().uuid() + ';' + third,
         third,
         {},
         0,
         0,
         false});
}

void CAccount::Requested(const std::string& text, Verdict verdict) {
    const Guard guard(mutex_);
    for (Task& task : tasks_) {
        if (text.find(task.userData) != std::string::npos) {
            if (task.givenUp || task.verdict == Verdict::kAccepted) {
                Broken("a task was sent again after its end");
            }
            task.verdict = verdict;
            task.refusals += verdict == Verdict::kAccepted ? 0 : 1;
        }
    }
}

void CAccount::Told(const Common::Message::Logs::CEventLog& event, bool kept) {
    const Guard guard(mutex_);
    const std::string third = Identifier(event, Symbol::kThirdIdentifier);
    const auto task = std::find_if(tasks_.begin(), tasks_.end(),
                                   [&](const Task& one) { return one.third == third; });
    if (task == tasks_.end()) {
        if (!outcome_ || Identifier(event, Symbol::kFirstIdentifier) != outcome_->first ||
            Identifier(event, Symbol::kSecondIdentifier) != outcome_->second ||
            third != outcome_->third) {
            Broken("an outcome was told that nobody has just handed out");
        }
        if (!Says(event, kOutcomes[std::min<std::size_t>(outcome_->word, 2)])) {
            Broken("an outcome was told as another one");
        }
        if (!kept) {
            outcomeWasRefused_ = true;
            return;
        }
        outcome_.reset();
        ++toldOutcomes_;
        return;
    }
    if (task->givenUp || task->verdict == Verdict::kAccepted) {
        Broken("something was told of a task after its end");
    }
    if (Says(event, kGivenUp)) {
        EndTask(*task, DescriptionOf(event));
    } else if (!Says(event, kWillBeTriedAgain) || ++task->failures > kFailuresOfATask) {
        Broken("something else was told of a task than may become of it");
    } else if (task->failures > task->refusals) {
        Broken("a failure of a task was told that nobody has tried");
    }
}

void CAccount::EndTask(Task& task, const std::string& text) const {
    if (text == kRetriesExhausted) {
        if (task.failures != kFailuresOfATask) {
            Broken("a task was given up without its failures");
        }
    } else if (text != kProductNotAvailable) {
        Broken("a task was given up for a reason that there is not");
    } else if (!hostStops_ || wasConnected_) {
        Broken("a task was given up although the product was there, or could still come");
    }
    task.givenUp = true;
}

void CAccount::HostStops() {
    const Guard guard(mutex_);
    hostStops_ = true;
}

void CAccount::Logged(const std::string& line) {
    const Guard guard(mutex_);
    wasConnected_ = wasConnected_ || line == kConnected;
}

void CAccount::PolicyDelivered(const std::string& text) {
    const Guard guard(mutex_);
    policies_.push_back({text, {}});
}

void CAccount::NoPolicyDelivered() {
    const Guard guard(mutex_);
    mayKnowNone_ = true;
}

void CAccount::PolicyCame(const std::string& text, Verdict verdict) {
    const Guard guard(mutex_);
    policyIsDue_ = false;
    const bool again = sentPolicies_ != 0 && policies_[sentPolicies_ - 1].text == text;
    if (!again) {
        if (sentPolicies_ == policies_.size() || policies_[sentPolicies_].text != text) {
            Broken("a policy came out of its turn");
        }
        if (sentPolicies_ != 0 && !policies_[sentPolicies_ - 1].MayBeDone()) {
            Broken("a policy came although the one before was refused");
        }
        ++sentPolicies_;
    }
    policies_[sentPolicies_ - 1].verdict = verdict;
}

void CAccount::Met() {
    const Guard guard(mutex_);
    policyIsDue_ = sentPolicies_ != 0 && !mayKnowNone_;
}

void CAccount::ExpectNoPolicyDue() const {
    const Guard guard(mutex_);
    if (policyIsDue_) {
        Broken("a product that was just met was not given the last policy");
    }
}

void CAccount::ExpectAllIsDone() const {
    const Guard guard(mutex_);
    if (!std::all_of(tasks_.begin(), tasks_.end(),
                     [](const Task& task) { return task.HasEnded(); })) {
        Broken("a task was not done in time");
    }
    if (sentPolicies_ != policies_.size() ||
        (!policies_.empty() && !policies_.back().MayBeDone())) {
        Broken("a policy did not come in time");
    }
}

void CAccount::ExpectStored(RecordKind kind, const std::string& record) const {
    const Guard guard(mutex_);
    if (collections_[static_cast<std::size_t>(kind)].kept.count(record) == 0) {
        Broken("a record was lost");
    }
}

void CAccount::ProcessEnded() {
    const Guard guard(mutex_);
    tasks_.clear();
    hostStops_ = false;
    wasConnected_ = false;
    outcome_.reset();
    policies_.clear();
    sentPolicies_ = 0;
    mayKnowNone_ = false;
    policyIsDue_ = false;
}

void CAccount::ExpectBalance(const std::vector<Message>& queued) const {
    const Guard guard(mutex_);
    if (outcome_ && !outcomeWasRefused_) {
        Broken("an outcome was not told");
    }
    for (const Collection& collection : collections_) {
        ExpectDealtWith(collection);
    }
    bool last = true;
    for (auto task = tasks_.rbegin(); task != tasks_.rend(); ++task) {
        if (std::any_of(queued.begin(), queued.end(), [&](const Message& message) {
                const auto one = TaskOf(message);
                return one && one->GetThirdIdentifier().uuid() == task->third;
            })) {
            continue;
        }
        if (!task->HasEnded() && !last) {
            Broken("a task has come to no end");
        }
        last = false;
    }
}

std::uint64_t CAccount::StoredRecords(RecordKind kind) const {
    const Guard guard(mutex_);
    return collections_[static_cast<std::size_t>(kind)].stored;
}

std::uint64_t CAccount::ToldOutcomes() const {
    const Guard guard(mutex_);
    return toldOutcomes_;
}

std::uint64_t CAccount::GivenUpTasks() const {
    const Guard guard(mutex_);
    return static_cast<std::uint64_t>(
        std::count_if(tasks_.begin(), tasks_.end(), [](const Task& task) { return task.givenUp; }));
}

}  // namespace Kyr::Fuzz
