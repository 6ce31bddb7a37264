#include "proofs/kill/Account.h"

#include <algorithm>
#include <iterator>

#include "host/Catalogue.h"
#include "lab/common/CommandWords.h"
#include "lab/simproduct/processes/TaskBook.h"

namespace Kyr::Proofs::Kill {

namespace {

using namespace Lab::SimProduct;
using Lab::CLine;
using Lab::ParseNumber;
using Lab::CrashTest::CRecordLedger;
namespace Outcome = Common::Catalogue::Task;

// In the order of the kinds of records.
const std::string kPositionKeys[] = {"XDR_OFFSET", "XDR_TELEMETRY_OFFSET", "OV_REMEDIATION_OFFSET"};

// What the simulated product begins with, and the text of HostMessages' policy.
constexpr char kFirstConfiguration[] = "update-server=default\n";
constexpr char kPolicy[] = "ab";

// How the product's own failure is told, and what a module says when it gives up.
constexpr char kFailedAtTheProduct[] = "Task failed";
constexpr char kRetriesExhausted[] =
    "Message task was canceled because maximum retry count was reached";
constexpr char kProductNotAvailable[] =
    "Message task was canceled because product is not available";
// What the receiver of a protection status says of a reply that is none.
constexpr char kNoStatus[] = "No such node (TULK.SECTION.STATUS)";

std::uint64_t Number(const CLine& line, const char* key) {
    return ParseNumber(line.Value(key));
}

/// The last part of user data.
std::string TaskOf(const std::string& userData) {
    return userData.substr(userData.rfind(';') + 1);
}

}  // namespace

CAccount::CAccount(const Scenario& scenario)
    : scenario_(scenario),
      records_{CRecordLedger(kBatch), CRecordLedger(kBatch), CRecordLedger(kBatch)},
      configurations_{kFirstConfiguration} {
    for (const RecordKind kind : kRecordKinds) {
        const auto place = static_cast<std::size_t>(kind);
        for (std::uint64_t number = 1; number <= scenario.records[place]; ++number) {
            records_[place].Expect(BytesOf(kind, RecordOf(scenario, kind, number)));
        }
    }
}

std::string CAccount::AddTask(const std::string& kind) {
    std::string identifier = ledger_.Enter();
    tasks_[identifier].kind = kind;
    if (kind == "export") {
        exportTask_ = identifier;
    }
    return identifier;
}

void CAccount::Enter(const CLine& line) {
    const std::string& kind = line.Kind();
    worked_ = worked_ || kind == "stored";
    if (kind == "handed") {
        records_[static_cast<std::size_t>(*FindRecordKind(line.Value("kind")))].HandOut(
            Number(line, "from"), Number(line, "records"));
    } else if (kind == "stored") {
        auto& stored = stored_[static_cast<std::size_t>(*FindRecordKind(line.Value("kind")))];
        for (const auto& field : line.Fields()) {
            if (field.first == "record") {
                stored.push_back(field.second);
            }
        }
    } else if (kind == "set") {
        const auto* const key =
            std::find(std::begin(kPositionKeys), std::end(kPositionKeys), line.Value("key"));
        if (key != std::end(kPositionKeys)) {
            const auto place = static_cast<std::size_t>(key - kPositionKeys);
            positions_[place] = Number(line, "value");
            CloseRecords(place);
        }
    } else if (kind == "ready") {
        productWasMet_ = false;
        productHasPolicy_ = false;
    } else if (kind == "request") {
        EnterRequest(line.Value("name"));
    } else if (kind == "did") {
        EnterDeed(line);
    } else if (kind == "told") {
        EnterTold(line);
    } else if (kind == "configuration") {
        ++exports_;
        Expect(configurations_.count(line.Value("text")) != 0,
               "a configuration was published that the product never had");
    } else if (kind == "log") {
        const std::string text = line.Value("text");
        connecting_ = connecting_ || text == "Connecting to product";
        hostIsConnected_ = hostIsConnected_ || text == "Connected to product, processing tasks";
        if (text == "Set policy request to product was successfull") {
            Expect(++toldImports_ <= imports_, "a policy was said to be set that was not");
        }
    }
}

void CAccount::CloseHostLife() {
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
        CloseRecords(kind);
    }
    for (auto& task : tasks_) {
        task.second.failures = 0;
    }
    hostStops_ = false;
    hostIsConnected_ = false;
}

void CAccount::CloseRecords(std::size_t kind) {
    const auto problem = records_[kind].CloseLife(stored_[kind], positions_[kind]);
    stored_[kind].clear();
    if (problem) {
        problems_.push_back(std::string(NameOf(kRecordKinds[kind])) + " records: " + *problem);
    }
}

void CAccount::EnterRequest(const std::string& name) {
    if (name == "agent-uuid") {
        receiver_.clear();  // a new connection
    } else if (name != "xml") {
        receiver_ = name.empty() ? receiver_ : name;
    } else if (receiver_ == "export") {
        HandOut(exportTask_, true);
        configurations_.insert("");
    } else if (receiver_ == "import") {
        ++imports_;
    }
}

void CAccount::EnterDeed(const CLine& line) {
    const std::string action = line.Value("action");
    const std::string task = TaskOf(line.Value("userdata"));
    if (action == "kill" || action == "block") {
        Reach(task);
        tasks_[task].behindStatus = receiver_ == "status";
        ++waiting_;
    } else if (action == "task-result") {
        --waiting_;
        HandOutOutcome(task);
        HandOut(task, Number(line, "outcome") == kTaskDone);
    } else if (action == "export") {
        Reach(exportTask_);
        HandOut(exportTask_, true);
    } else if (action == "agent-uuid") {
        askerIsDead_ = false;
        productWasMet_ = true;
    } else if (action == "import") {
        ++imports_;
        productHasPolicy_ = true;
        configurations_.insert(line.Value("text"));
        Expect(line.Value("text") == kPolicy, "another policy came than was given");
    }
}

void CAccount::Reach(const std::string& identifier) {
    ledger_.Reached(identifier);
    ++tasks_[identifier].deeds;
}

void CAccount::HandOut(const std::string& identifier, bool done) {
    ledger_.HandedOut(identifier);
    tasks_[identifier].done += done ? 1 : 0;
}

void CAccount::HandOutOutcome(const std::string& identifier) {
    if (untold_) {
        Expect(untold_->mayBeLost,
               "an outcome was not told although nobody died: " + untold_->task);
        ++lostOutcomes_;
    }
    untold_ = Untold{identifier, askerIsDead_};
}

// What a dead host has asked for may be answered after its death.
void CAccount::NoteDeath(bool ofHost) {
    askerIsDead_ = askerIsDead_ || ofHost;
    breaks_ += ofHost ? 0 : 1;
    if (untold_) {
        untold_->mayBeLost = true;
    }
}

void CAccount::NoteStop(bool ofHost) {
    hostStops_ = hostStops_ || ofHost;
    breaks_ += ofHost ? 0 : 1;
}

void CAccount::EnterTold(const CLine& line) {
    const std::string identifier = line.Value("task");
    const std::uint64_t status = Number(line, "status");
    const std::uint64_t code = Number(line, "code");
    ledger_.Reported(identifier, static_cast<std::int32_t>(status), code,
                     static_cast<std::int64_t>(Number(line, "severity")));
    Expect(ledger_.ToldTooOften() == 0, "what was told of a task had not happened: " + identifier);
    Task& task = tasks_[identifier];
    if (status == Outcome::kNotFailed && code == Outcome::kFailedText) {
        ++task.failures;
        if (task.behindStatus && line.Value("text") == kNoStatus) {
            ++task.overheard;
        } else {
            ++failures_;
        }
        return;  // it will be tried again
    }
    task.ended = true;
    const std::string text = line.Value("text");
    if (status == Outcome::kFailed && text != kFailedAtTheProduct) {
        EnterFailure(task, text);
        return;
    }
    if (status == Outcome::kNotFailed) {
        Expect(++task.toldDone <= task.done, "a task was told as done that was not: " + identifier);
    }
    if (task.kind == "export") {
        Expect(++toldExports_ <= exports_, "an export was told as done before it was published");
    } else {
        Expect(untold_ && untold_->task == identifier,
               "an outcome was told that was not just handed out: " + identifier);
        untold_.reset();
    }
}

// By the module itself.
void CAccount::EnterFailure(Task& task, const std::string& text) {
    if (text == kRetriesExhausted) {
        Expect(task.failures == 2,
               "a task was given up behind " + std::to_string(task.failures) + " failures");
    } else if (text == kProductNotAvailable) {
        Expect(hostStops_ && !hostIsConnected_,
               "a task was given up although the product was there, or could still come");
    } else {
        Expect(false, "a task was given up: " + text);
    }
}

bool CAccount::IsComplete() const {
    bool complete = ledger_.Lost() == 0 && waiting_ == 0 && (!untold_ || untold_->mayBeLost) &&
                    (!scenario_.policy || imports_ != 0);
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
        complete = complete && positions_[kind] == scenario_.records[kind];
    }
    for (const auto& task : tasks_) {
        // Of an export the module itself tells, and asks again until it can.
        complete = complete && (task.second.kind != "export" || task.second.ended);
    }
    return complete;
}

void CAccount::Close() {
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
        const std::uint64_t all = scenario_.records[kind];
        Expect(records_[kind].Highest() == all && records_[kind].Counts().sent == all,
               std::string("not all ") + NameOf(kRecordKinds[kind]) + " records came");
    }
    Expect(!scenario_.policy || !productWasMet_ || productHasPolicy_,
           "the product was left without the policy");
    Expect(IsComplete(), "something was left undone");
    Expect(failures_ <= breaks_, std::to_string(failures_) + " attempts failed, and a product " +
                                     std::to_string(breaks_) + " times");
    for (const auto& task : tasks_) {
        // The first host and the first product count as one.
        Expect(task.second.deeds < starts_ + task.second.overheard,
               "a task was carried out too often: " + task.first);
    }
}

void CAccount::Expect(bool holds, const std::string& otherwise) {
    if (!holds) {
        problems_.push_back(otherwise);
    }
}

}  // namespace Kyr::Proofs::Kill
