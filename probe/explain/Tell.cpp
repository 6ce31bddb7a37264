#include "probe/explain/Tell.h"

#include <utility>

#include "probe/explain/Connections.h"
#include "probe/explain/HostEvents.h"
#include "probe/explain/ProblemBook.h"
#include "probe/explain/Recognise.h"
#include "probe/explain/TaskBook.h"
#include "probe/explain/TaskNames.h"
#include "probe/explain/TaskThread.h"

namespace Kyr::Probe {

namespace {

constexpr char kForeignText[] =
    "a failure whose text is none of the connector's: thrown by the host's bus or database, or by "
    "the reader of the product's XML";
constexpr char kSeeLine[] = "read that line of the log";
constexpr int kWarningLevel = 3;

// Between the two lines of a connection that fails others may come, of other threads.
constexpr std::size_t kLinesOfOthers = 16;

/// The second of the day; nothing for what is no time.
std::optional<int> Second(const std::string& time) {
    if (time.size() < 8) {
        return std::nullopt;
    }
    const auto two = [&](std::size_t at) { return (time[at] - '0') * 10 + time[at + 1] - '0'; };
    return two(0) * 3600 + two(3) * 60 + two(6);
}

class CTeller {
  public:
    explicit CTeller(const HostLog& log) : log_(log) {}
    Story Tell();

  private:
    void Take(const HostLine& line);
    bool TakeLife(const Recognised& found);
    bool TakeTask(const Recognised& found);
    bool TakeWork(const Recognised& found);
    void TakeWatch(const Recognised& found);
    void TakeFailure(const Recognised& found);
    void TakePolicy(const Recognised& found);
    void GoOn(Ending proof);
    void AddProblem(const Recognised& found);
    bool IsPartOfConnectFailure(const std::string& text) const;
    void ExplainWaiting(Story& story) const;

    const HostLog& log_;
    CTaskBook tasks_;
    CConnections connections_;
    CProblemBook problems_;
    CTaskThread thread_{tasks_, connections_, problems_};
    std::optional<ProblemStory> deactivated_;
    bool policyIsDamaged_ = false;  // the one that is being sent
    std::size_t index_ = 0;
    Moment here_;
};

Story CTeller::Tell() {
    for (index_ = 0; index_ < log_.lines.size(); ++index_) {
        const HostLine& line = log_.lines[index_];
        here_ = {{line.time, Shown(log_.files[line.file]) + ":" + std::to_string(line.number),
                  line.stamp, index_},
                 Second(line.time)};
        if (line.kind == "log") {
            Take(line);
        } else {
            TakeHostEvent(line, here_.place, tasks_);
        }
    }
    thread_.Finish();
    Story story;
    connections_.Give(story);
    story.tasks = tasks_.Take();
    story.problems = problems_.Take();
    story.deactivated = deactivated_;
    story.lines = log_.lines.size();
    story.others = log_.others;
    story.tooLong = log_.tooLong;
    ExplainWaiting(story);
    return story;
}

void CTeller::Take(const HostLine& line) {
    Recognised found = Recognise(line.text);
    if (found.kind == LineKind::kUnknown) {
        if (line.level != 0 && line.level < kWarningLevel) {
            return;
        }
        found = {LineKind::kFailure, Ending::kAskedAgain, kForeignText, kSeeLine, {}};
    }
    if (found.kind == LineKind::kFailure && IsPartOfConnectFailure(line.text)) {
        return;
    }
    if (!TakeLife(found) && !TakeTask(found) && !TakeWork(found)) {
        TakeWatch(found);
    }
}

bool CTeller::TakeLife(const Recognised& found) {
    switch (found.kind) {
        case LineKind::kConnecting:
            thread_.Start();
            connections_.Start(here_.place);
            problems_.Start();
            deactivated_.reset();
            return true;
        case LineKind::kConnected:
            connections_.Connect(here_.place);
            problems_.ConnectedBehindStart();
            return true;
        case LineKind::kReconnecting:
            thread_.Reconnect(here_.place);
            return true;
        case LineKind::kConnectFailed:
            policyIsDamaged_ = false;
            connections_.Fail(here_.place, found.cause, found.next);
            if (connections_.IsConnecting()) {
                connections_.CountAttempt();
            }
            if (found.ending == Ending::kSentAgain) {
                AddProblem(found);
            }
            return true;
        case LineKind::kNotAvailable:
            thread_.Stop(here_.place);
            connections_.StopUnconnected(here_.place, found.cause, found.next);
            return true;
        case LineKind::kDisconnecting:
        case LineKind::kInterrupted:
            thread_.Stop(here_.place);
            connections_.Stop(here_.place);
            return true;
        case LineKind::kDeactivated:
            deactivated_ = ProblemStory{here_.place, 1, found.cause, found.next};
            AddProblem(found);
            return true;
        default:
            return false;
    }
}

bool CTeller::TakeTask(const Recognised& found) {
    switch (found.kind) {
        case LineKind::kSendingKill:
            thread_.Send(TaskOfMessage("KillProcessByPid"), here_.place);
            return true;
        case LineKind::kSendingBlock:
            thread_.Send(TaskOfMessage("BlockExecutableByHash"), here_.place);
            return true;
        case LineKind::kRequest:
            thread_.Request(found.rest, here_);
            return true;
        case LineKind::kCancelled:
        case LineKind::kCancelledNotAvailable:
            thread_.GiveUp(found, here_.place);
            return true;
        case LineKind::kOutcome:
            thread_.GoOn(here_.place);
            tasks_.TakeOutcome(here_.place);
            return true;
        case LineKind::kFailure:
            policyIsDamaged_ = false;
            thread_.Fail(here_.place, found.cause, found.next, found.ending);
            return true;
        default:
            return false;
    }
}

bool CTeller::TakeWork(const Recognised& found) {
    switch (found.kind) {
        case LineKind::kStatusCame:
            GoOn(Ending::kStatus);
            return true;
        case LineKind::kIndicatorsCame:
            GoOn(Ending::kIndicators);
            return true;
        case LineKind::kTelemetryCame:
            GoOn(Ending::kTelemetry);
            return true;
        case LineKind::kActionsCame:
            GoOn(Ending::kActions);
            return true;
        case LineKind::kReplyWrong:
            thread_.GoOn(here_.place);
            AddProblem(found);
            return true;
        case LineKind::kPolicyTaken:
        case LineKind::kPolicyDamaged:
        case LineKind::kPolicyWrong:
            TakePolicy(found);
            return true;
        default:
            return false;
    }
}

void CTeller::TakePolicy(const Recognised& found) {
    if (found.kind != LineKind::kPolicyTaken) {
        policyIsDamaged_ = found.kind == LineKind::kPolicyDamaged;
        AddProblem(found);
        return;
    }
    const bool isOfPolicy = thread_.TakePolicy(here_.place);
    const bool isDamaged = std::exchange(policyIsDamaged_, false);
    if (isOfPolicy && !isDamaged) {
        problems_.End(Ending::kPolicy);
        problems_.End(Ending::kSentAgain);
    }
}

void CTeller::TakeWatch(const Recognised& found) {
    switch (found.kind) {
        case LineKind::kAreaChanged:
            thread_.WatchGoesOn(here_);
            problems_.End(Ending::kArea);
            return;
        case LineKind::kResending:
            problems_.Resend();
            [[fallthrough]];
        case LineKind::kPublishing:
            thread_.WatchGoesOn(here_);
            thread_.OthersAsk();
            return;
        case LineKind::kPingFailed:
            thread_.WatchGoesOn(here_);
            thread_.OthersAsk();
            connections_.Fail(here_.place, found.cause, found.next);
            return;
        case LineKind::kWatchProblem:
            AddProblem(found);
            return;
        default:
            return;
    }
}

void CTeller::GoOn(Ending proof) {
    thread_.GoOn(here_.place);
    problems_.End(proof);
    if (proof != Ending::kStatus) {
        problems_.End(Ending::kRecords);
    }
}

void CTeller::AddProblem(const Recognised& found) {
    problems_.Add(here_.place, found.cause, found.next, found.ending);
}

/// A connection that fails has two lines: its own text, and that again behind another one.
bool CTeller::IsPartOfConnectFailure(const std::string& text) const {
    const std::size_t end = std::min(log_.lines.size(), index_ + 1 + kLinesOfOthers);
    for (std::size_t next = index_ + 1; next < end; ++next) {
        const HostLine& line = log_.lines[next];
        const std::size_t whole = line.text.size();
        if (whole >= text.size() && Recognise(line.text).kind == LineKind::kConnectFailed) {
            return line.text.compare(whole - text.size(), text.size(), text) == 0;
        }
    }
    return false;
}

/// What was given to the connector and not asked for has a reason in what goes on besides.
void CTeller::ExplainWaiting(Story& story) const {
    const Outage* const outage =
        story.outages.empty() || story.outages.back().over ? nullptr : &story.outages.back();
    for (TaskStory& task : story.tasks) {
        if (task.state != TaskState::kGiven || !task.cause.empty()) {
            continue;
        }
        task.cause = outage != nullptr ? "the connector waits for the product: " + outage->cause
                     : deactivated_    ? deactivated_->cause
                                       : "the product was not asked, or the log ends before";
        task.next = outage != nullptr ? outage->next : "";
    }
}

}  // namespace

Story Tell(const HostLog& log) {
    return CTeller(log).Tell();
}

}  // namespace Kyr::Probe
