#include "probe/explain/Story.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "probe/explain/Patterns.h"
#include "probe/explain/TaskNames.h"

namespace Kyr::Probe {

namespace {

constexpr char kForeignText[] =
    "a failure whose text is none of the connector's: thrown by the host's bus or database, or by "
    "the reader of the product's XML";
constexpr char kSeeLine[] = "read that line of the log";

/// The seconds of a day; nothing for what is no time.
std::optional<int> Seconds(const std::string& time) {
    if (time.size() < 8) {
        return std::nullopt;
    }
    const auto two = [&](std::size_t at) { return (time[at] - '0') * 10 + time[at + 1] - '0'; };
    return two(0) * 3600 + two(3) * 60 + two(6);
}

/// Watching goes on every five seconds, unless a request to the product does not end.
constexpr int kLongerThanALook = 11;

/// What an event of the connector says of a task.
TaskState StateOf(const std::string& outcome, bool failed, const std::string& text) {
    if (outcome == "0x000000010000000b") {
        return TaskState::kDone;
    }
    if (outcome == "0x000000010000000a") {
        return TaskState::kDoneWithWarning;
    }
    if (outcome == "0x000000010000009b") {
        return TaskState::kGivenUp;
    }
    if (!failed) {
        return TaskState::kRetried;
    }
    return text == "Task failed" ? TaskState::kFailedAtProduct : TaskState::kFailed;
}

/// Causes differ by numbers that the product or a hostile log chooses.
constexpr std::size_t kMostProblems = 100;

class CTeller {
  public:
    explicit CTeller(const HostLog& log) : log_(log) {}

    Story Tell() {
        story_.lines = log_.lines.size();
        story_.others = log_.others;
        story_.tooLong = log_.tooLong;
        for (index_ = 0; index_ < log_.lines.size(); ++index_) {
            const HostLine& line = log_.lines[index_];
            here_ = {line.time, Shown(log_.files[line.file]) + ":" + std::to_string(line.number)};
            if (line.kind == "log") {
                Take(line);
            } else {
                TakeEvent(line);
            }
        }
        End();
        return std::move(story_);
    }

  private:
    void Take(const HostLine& line);
    void TakeEvent(const HostLine& line);
    void End();

    // What lines do.
    void TakeRequest(const Recognised& found, const HostLine& line);
    void TakeFailure(const std::string& cause, const std::string& next);
    void TakeCancelled(const Recognised& found);
    void TakeReconnecting();
    void TakeOutcome();
    void TakeEnd();

    /// The task thread has got on: what it was about before has an end, and it is connected.
    void Progress();
    void BeginOutage(const std::string& cause, const std::string& next);
    void EndOutage();
    void AddProblem(const std::string& cause, const std::string& next);
    bool IsPartOfConnectFailure() const;
    TaskStory& TaskFor(const std::vector<std::string>& identifiers, const std::string& what);
    void SetState(TaskStory& task, TaskState state);
    std::size_t IndexOf(const TaskStory& task) const {
        return static_cast<std::size_t>(&task - story_.tasks.data());
    }
    TaskStory* Current() { return current_ ? &story_.tasks[*current_] : nullptr; }

    const HostLog& log_;
    Story story_;
    std::size_t index_ = 0;
    Place here_;
    std::optional<std::size_t> current_;  // the task in hand
    bool asked_ = false;                  // it was sent, and no later line of its thread is known
    std::optional<int> askedAt_;
    std::string sending_;
    std::string lastCause_;
    std::string lastNext_;
    bool outage_ = false;     // the last one is not over
    std::size_t untold_ = 0;  // outcomes that could not be given to a task

    // So that a log of any length is read in one pass.
    std::map<std::vector<std::string>, std::size_t> byIdentifiers_;
    std::set<std::size_t> waiting_;  // accepted, no outcome yet
    std::set<std::size_t> given_;    // not asked yet
};

void CTeller::Take(const HostLine& line) {
    const Recognised found = Recognise(line.text);
    switch (found.kind) {
        case LineKind::kUnknown:
            if (line.level == 0 || line.level >= 3) {
                TakeFailure(kForeignText, kSeeLine);
            }
            return;
        case LineKind::kDetail:
            return;
        case LineKind::kConnecting:
            current_.reset();
            asked_ = false;
            story_.deactivated.reset();
            story_.connecting = true;
            return;
        case LineKind::kConnected:
            story_.connecting = false;
            story_.connections.push_back(here_);
            EndOutage();
            return;
        case LineKind::kReconnecting:
            TakeReconnecting();
            return;
        case LineKind::kConnectFailed:
            BeginOutage(found.cause, found.next);
            story_.outages.back().attempts += story_.connecting ? 1 : 0;
            return;
        case LineKind::kDeactivated:
            story_.deactivated = Problem{here_, 1, found.cause, found.next};
            AddProblem(found.cause, found.next);
            return;
        case LineKind::kDisconnecting:
        case LineKind::kInterrupted:
        case LineKind::kNotAvailable:
            TakeEnd();
            return;
        case LineKind::kSendingKill:
            Progress();
            sending_ = TaskOfMessage("KillProcessByPid");
            return;
        case LineKind::kSendingBlock:
            Progress();
            sending_ = TaskOfMessage("BlockExecutableByHash");
            return;
        case LineKind::kRequest:
            TakeRequest(found, line);
            return;
        case LineKind::kCancelled:
        case LineKind::kCancelledNotAvailable:
            TakeCancelled(found);
            return;
        case LineKind::kOutcome:
            Progress();
            TakeOutcome();
            return;
        case LineKind::kWorked:
            Progress();
            return;
        case LineKind::kProblem:
            AddProblem(found.cause, found.next);
            return;
        case LineKind::kFailure:
            if (!IsPartOfConnectFailure()) {
                TakeFailure(found.cause, found.next);
            }
            return;
        case LineKind::kWatched: {
            const auto now = Seconds(line.time);
            if (asked_ && now && askedAt_ &&
                (*now - *askedAt_ + 86400) % 86400 >= kLongerThanALook) {
                Progress();
            }
            return;
        }
        case LineKind::kPingFailed:
            BeginOutage(found.cause, found.next);
            return;
        case LineKind::kWatchProblem:
            AddProblem(found.cause, found.next);
            return;
    }
}

void CTeller::TakeRequest(const Recognised& found, const HostLine& line) {
    const auto identifiers = IdentifiersInRequest(found.rest);
    TaskStory& task = TaskFor(identifiers, sending_);
    ++task.attempts;
    SetState(task, TaskState::kAsked);
    asked_ = true;
    askedAt_ = Seconds(line.time);
    current_ = IndexOf(task);
}

void CTeller::TakeFailure(const std::string& cause, const std::string& next) {
    lastCause_ = cause;
    lastNext_ = next;
    TaskStory* const task = Current();
    if (task == nullptr || !asked_) {
        AddProblem(cause, next);
        return;
    }
    asked_ = false;
    SetState(*task, TaskState::kFailed);  // unless it is tried again
    task->cause = cause;
    task->next = next;
}

void CTeller::TakeReconnecting() {
    TaskStory* const task = Current();
    if (task != nullptr && task->state == TaskState::kFailed) {
        task->state = TaskState::kRetried;
    }
    BeginOutage(lastCause_.empty() ? "a request to the product has failed" : lastCause_, lastNext_);
    ++story_.outages.back().attempts;
}

void CTeller::TakeCancelled(const Recognised& found) {
    constexpr std::string_view kBefore = ", message was: ";
    const std::string_view name = found.rest.substr(0, kBefore.size()) == kBefore
                                      ? found.rest.substr(kBefore.size())
                                      : std::string_view();
    const std::string what = TaskOfMessage(name);
    const bool never = found.kind == LineKind::kCancelledNotAvailable;
    if (!never) {
        EndOutage();
    }
    if (what.empty()) {
        AddProblem("a request for status, outcomes or records was given up: " +
                       (never ? found.cause : lastCause_),
                   never ? found.next : lastNext_);
        return;
    }
    TaskStory* task = never ? nullptr : Current();
    if (task == nullptr || task->what != what) {
        const auto given = std::find_if(given_.begin(), given_.end(), [&](std::size_t index) {
            return story_.tasks[index].what == what;
        });
        task = given != given_.end() ? &story_.tasks[*given] : &TaskFor({}, what);
        task->cause = never ? found.cause : lastCause_;
        task->next = never ? found.next : lastNext_;
    }
    if (!never) {
        task->cause = found.cause + "; the last time: " + task->cause;
    }
    SetState(*task, TaskState::kGivenUp);
    current_.reset();
    asked_ = false;
}

void CTeller::TakeOutcome() {
    if (waiting_.empty() || ++untold_ != waiting_.size()) {
        return;
    }
    for (const std::size_t index : waiting_) {
        story_.tasks[index].state = TaskState::kTold;
        story_.tasks[index].last = here_;
    }
    waiting_.clear();
    untold_ = 0;
}

void CTeller::TakeEnd() {
    TaskStory* const task = Current();
    if (asked_) {
        Progress();  // no interruption ends an exchange with the product
    } else if (task != nullptr && task->state == TaskState::kRetried) {
        task->cause += "; the host has stopped the connector before the next attempt";
    }
    current_.reset();
    story_.connecting = false;
}

void CTeller::TakeEvent(const HostLine& line) {
    const auto value = [&](const std::string& beginning) {
        const auto found = line.fields.lower_bound(beginning);
        return found != line.fields.end() && found->first.rfind(beginning, 0) == 0 ? found->second
                                                                                   : std::string();
    };
    if (line.kind == "answer") {
        const std::string what = TaskOfCommand(value("command"));
        if (!what.empty()) {
            TaskFor(SplitIdentifiers(value("ids"), ','), what);
        }
        return;
    }
    const std::string ids = value("2842-") + ';' + value("2844-") + ';' + value("2846-");
    TaskStory& task = TaskFor(SplitIdentifiers(ids, ';'), "");
    const std::string outcome = value("2848-");
    const bool failed = value("2836-") == "4";
    const std::string text = value("2913-");
    const Recognised reason = Recognise(text);
    const TaskState state = StateOf(outcome, failed, text);
    SetState(task, state);
    if (state == TaskState::kDone) {
        task.cause.clear();
        task.next.clear();
    } else if (state == TaskState::kFailedAtProduct) {
        task.cause = "the product has taken the task, and could not carry it out";
        task.next = "look into the product's own log";
    }
    if (task.cause.empty() && task.state != TaskState::kDone) {
        task.cause = reason.cause;
        task.next = reason.next;
    }
}

void CTeller::End() {
    TaskStory* const task = Current();
    if (task != nullptr && task->state == TaskState::kAsked) {
        task->cause =
            "nothing in the log says that the product has answered: it hangs, or the log ends here";
        task->next = "`ovprobe ping`: a product that hangs does not answer";
    }
    for (TaskStory& one : story_.tasks) {
        if (one.state == TaskState::kGiven && one.cause.empty()) {
            const bool open = outage_ && !story_.outages.empty();
            one.cause = open ? "the connector waits for the product: " + story_.outages.back().cause
                        : story_.deactivated ? story_.deactivated->cause
                                             : "the product was not asked, or the log ends before";
            one.next = open ? story_.outages.back().next : "";
        }
    }
}

void CTeller::Progress() {
    TaskStory* const task = Current();
    // Of a task whose event has come more is known.
    if (task != nullptr && task->state == TaskState::kAsked) {
        const Place asked = task->last;
        SetState(*task, TaskState::kAccepted);
        task->last = asked;
    }
    asked_ = false;
    EndOutage();
}

void CTeller::SetState(TaskStory& task, TaskState state) {
    const std::size_t index = IndexOf(task);
    given_.erase(index);
    waiting_.erase(index);
    if (state == TaskState::kAccepted) {
        waiting_.insert(index);
    }
    task.state = state;
    task.last = here_;
}

void CTeller::BeginOutage(const std::string& cause, const std::string& next) {
    if (!outage_) {
        story_.outages.push_back({here_, cause, next, 0, false, {}});
        outage_ = true;
    }
    if (!cause.empty()) {
        story_.outages.back().cause = cause;
        story_.outages.back().next = next;
    }
}

void CTeller::EndOutage() {
    if (outage_) {
        story_.outages.back().over = true;
        story_.outages.back().ends = here_;
        outage_ = false;
    }
}

void CTeller::AddProblem(const std::string& cause, const std::string& next) {
    const auto known = std::find_if(story_.problems.begin(), story_.problems.end(),
                                    [&](const Problem& problem) { return problem.cause == cause; });
    if (known != story_.problems.end()) {
        ++known->times;
    } else if (story_.problems.size() < kMostProblems) {
        story_.problems.push_back({here_, 1, cause, next});
    }
}

bool CTeller::IsPartOfConnectFailure() const {
    for (std::size_t next = index_ + 1; next < log_.lines.size(); ++next) {
        if (log_.lines[next].kind == "log") {
            return Recognise(log_.lines[next].text).kind == LineKind::kConnectFailed;
        }
    }
    return false;
}

TaskStory& CTeller::TaskFor(const std::vector<std::string>& identifiers, const std::string& what) {
    const auto known = byIdentifiers_.find(identifiers);
    if (!identifiers.empty() && known != byIdentifiers_.end()) {
        TaskStory& task = story_.tasks[known->second];
        task.what = task.what.empty() ? what : task.what;
        return task;
    }
    const std::size_t index = story_.tasks.size();
    story_.tasks.push_back({identifiers, what, here_, here_, 0, TaskState::kGiven, "", ""});
    byIdentifiers_[identifiers] = index;
    given_.insert(index);
    return story_.tasks.back();
}

}  // namespace

bool Story::IsFine() const {
    return lines != 0 && problems.empty() && outages.empty() && !connecting &&
           std::all_of(tasks.begin(), tasks.end(), [](const TaskStory& task) {
               return task.state == TaskState::kAccepted || task.state == TaskState::kTold ||
                      task.state == TaskState::kDone || task.state == TaskState::kDoneWithWarning;
           });
}

Story Tell(const HostLog& log) {
    return CTeller(log).Tell();
}

const char* InWords(TaskState state) {
    switch (state) {
        case TaskState::kGiven:
            return "waits: the product was not asked yet";
        case TaskState::kAsked:
            return "the product was asked";
        case TaskState::kAccepted:
            return "the product has it, and no outcome has come yet";
        case TaskState::kTold:
            return "the product has told its outcome, which this log does not have";
        case TaskState::kRetried:
            return "failed, and is tried again";
        case TaskState::kDone:
            return "done";
        case TaskState::kDoneWithWarning:
            return "done, with a warning of the product";
        case TaskState::kFailedAtProduct:
            return "failed at the product";
        case TaskState::kFailed:
            return "failed, and is not tried again";
        case TaskState::kGivenUp:
            return "given up";
    }
    return "";
}

}  // namespace Kyr::Probe
