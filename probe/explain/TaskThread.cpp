#include "probe/explain/TaskThread.h"

#include <utility>

#include "probe/explain/TaskNames.h"

namespace Kyr::Probe {

namespace {

/// Watching goes on every five seconds, unless a request to the product does not end.
constexpr int kLongerThanALook = 11;
constexpr int kSecondsOfADay = 86400;

constexpr std::string_view kNameFollows = ", message was: ";
constexpr std::string_view kPolicyMessage = "ApplyPolicy";  // it has no identifiers: no task

}  // namespace

void CTaskThread::Start() {
    LeaveOpen("the host has ended without a word");
    policyIsPartOfConnection_ = false;
}

void CTaskThread::Send(const std::string& what, const Place& place) {
    if (asked_) {
        GoOn(place);
    }
    connections_.Work(place);
    problems_.Connection();
    sending_ = what;
}

void CTaskThread::Request(std::string_view xml, const Moment& at) {
    const std::string userData(UserDataInRequest(xml));
    std::optional<CTaskBook::Number> task;
    if (IsRetryOf(userData)) {
        task = failed_->asked->task;
        failed_.reset();
        connections_.Work(at.place);
        problems_.Connection();
    } else {
        GoOn(at.place);
        task = tasks_.Find(IdentifiersInRequest(xml), sending_, at.place);
    }
    ++tasks_.At(*task).attempts;
    tasks_.SetState(*task, TaskState::kAsked, at.place);
    tasks_.AddStation(*task, at.place,
                      tasks_.At(*task).attempts == 1 ? "product asked" : "product asked again");
    asked_ = Asked{*task, userData, at};
}

bool CTaskThread::IsRetryOf(const std::string& userData) const {
    return failed_ && failed_->isRetried && failed_->asked && failed_->asked->userData == userData;
}

void CTaskThread::Fail(const Place& place, const std::string& cause, const std::string& next,
                       Ending ending) {
    lastCause_ = cause;
    lastNext_ = next;
    if (failed_ && failed_->isRetried) {
        // What has come again behind the connection is no task, and it fails so now.
        ResolveFailure();
    }
    Failed failed{std::move(asked_), std::nullopt, place, cause, next, ending};
    asked_.reset();
    if (ending == Ending::kConnection) {
        connections_.Fail(place, cause, next);
    }
    if (!failed.asked) {
        AddProblem(failed);
        failed_ = failed;
        return;
    }
    const CTaskBook::Number number = failed.asked->task;
    TaskStory& task = tasks_.At(number);
    failed.isTold = task.state != TaskState::kAsked;
    if (failed.IsOfTask()) {
        tasks_.SetState(number, TaskState::kFailed, place);  // unless it is retried
        task.cause = cause;
        task.next = next;
        tasks_.AddStation(number, place, cause);
    }
    failed_ = failed;
}

void CTaskThread::Reconnect(const Place& place) {
    if (failed_) {
        failed_->isRetried = true;
        if (failed_->IsOfTask()) {
            const CTaskBook::Number task = failed_->asked->task;
            tasks_.At(task).state = TaskState::kRetried;
            tasks_.AddStation(task, place, "connector connects again");
        }
    }
    policyIsPartOfConnection_ = true;
    connections_.Fail(
        place, lastCause_.empty() ? "a request to the product has failed" : lastCause_, lastNext_);
    connections_.CountAttempt();
}

void CTaskThread::GiveUp(const Recognised& line, const Place& place) {
    const bool hasName = line.rest.substr(0, kNameFollows.size()) == kNameFollows;
    const std::string_view name = hasName ? line.rest.substr(kNameFollows.size()) : "";
    const std::string what = TaskOfMessage(name);
    const bool never = line.kind == LineKind::kCancelledNotAvailable;
    const std::string cause =
        never ? line.cause
              : line.cause + (lastCause_.empty() ? "" : "; the last time: " + lastCause_);
    const std::string& next = never ? line.next : lastNext_;
    if (!never) {
        connections_.Work(place);
        problems_.Connection();
    }
    std::optional<CTaskBook::Number> task;
    if (failed_ && failed_->asked && tasks_.At(failed_->asked->task).what == what) {
        task = failed_->asked->task;
    } else if (!what.empty()) {
        ResolveFailure();  // it is told as that of the task
        const auto given = tasks_.FirstGiven(what);
        task = given ? *given : tasks_.AddNameless(what, place);
    }
    failed_.reset();
    if (!task) {
        const bool isPolicy = name == kPolicyMessage;
        problems_.Add(place,
                      std::string(isPolicy  ? "a policy"
                                  : hasName ? "a request for status, outcomes or records"
                                            : "a task or a request") +
                          " was given up: " + cause,
                      next, isPolicy ? Ending::kPolicy : Ending::kAskedAgain);
        return;
    }
    tasks_.At(*task).cause = cause;
    tasks_.At(*task).next = next;
    tasks_.SetState(*task, TaskState::kGivenUp, place);
    tasks_.AddStation(*task, place, "given up: " + line.cause);
}

bool CTaskThread::TakePolicy(const Place& place) {
    const bool mayBeAnother = asked_.has_value();
    if (std::exchange(policyIsPartOfConnection_, false)) {
        connections_.Work(place);
        problems_.Connection();
    } else {
        GoOn(place);
    }
    return !mayBeAnother;
}

void CTaskThread::GoOn(const Place& place) {
    if (asked_) {
        Accept(*asked_, place);
        asked_.reset();
    }
    ResolveFailure();
    policyIsPartOfConnection_ = false;
    connections_.Work(place);
    problems_.Connection();
}

void CTaskThread::Accept(const Asked& asked, const Place& shown) {
    TaskStory& task = tasks_.At(asked.task);
    // Of a task whose event has come more is known.
    if (task.state == TaskState::kAsked || task.state == TaskState::kRetried) {
        tasks_.SetState(asked.task, TaskState::kAccepted, asked.at.place);
        task.cause.clear();
        task.next.clear();
        // A failure behind the request was not that of the task.
        while (!task.road.empty() && task.road.back().place.line > asked.at.place.line) {
            task.road.pop_back();
        }
        tasks_.AddStation(asked.task, shown, "product has taken it, since the connector goes on");
    }
}

void CTaskThread::ResolveFailure() {
    if (!failed_) {
        return;
    }
    Failed failed = *std::exchange(failed_, std::nullopt);
    if (failed.asked) {
        if (failed.isTold || (failed.asked->alone && !failed.isRetried)) {
            return;  // it is the task's
        }
        Accept(*failed.asked, failed.place);
        AddProblem(failed);
    }
    if (failed.isRetried && failed.ending == Ending::kAskedAgain && failed.problem) {
        problems_.End(*failed.problem);  // behind the connection it got through, or fails otherwise
    }
}

/// Unless it is that of an outage, which is told as such.
void CTaskThread::AddProblem(Failed& failed) {
    if (failed.ending != Ending::kConnection) {
        failed.problem = problems_.Add(failed.place, failed.cause, failed.next, failed.ending);
    }
}

void CTaskThread::Stop(const Place& place) {
    if (asked_) {
        Accept(*asked_, place);  // no interruption ends an exchange with the product
        asked_.reset();
        connections_.Work(place);
    }
    LeaveOpen("the host has stopped the connector before the next attempt");
}

void CTaskThread::OthersAsk() {
    if (asked_) {
        asked_->alone = false;
    }
}

void CTaskThread::WatchGoesOn(const Moment& at) {
    if (asked_ && at.second && asked_->at.second &&
        (*at.second - *asked_->at.second + kSecondsOfADay) % kSecondsOfADay >= kLongerThanALook) {
        GoOn(at.place);
    }
}

void CTaskThread::Finish() {
    LeaveOpen("");
}

void CTaskThread::LeaveOpen(const std::string& why) {
    if (asked_ && tasks_.At(asked_->task).state == TaskState::kAsked) {
        TaskStory& task = tasks_.At(asked_->task);
        task.cause = "nothing in the log says that the product has answered: " +
                     (why.empty() ? "it hangs at this request, or the host has ended" : why);
        task.next = why.empty()
                        ? "see whether the host still runs; if it does, restart the product: the "
                          "connector waits for this answer without end, also while pings are "
                          "answered"
                        : "look whether the product has an outcome of it";
    }
    if (failed_ && failed_->asked) {
        TaskStory& task = tasks_.At(failed_->asked->task);
        if (failed_->IsOfTask()) {
            task.cause += failed_->isRetried && !why.empty() ? "; " + why : "";
        } else if (task.state == TaskState::kAsked) {
            task.cause =
                "the log does not say whether the product has taken it: a request has "
                "failed behind it, perhaps another one: " +
                failed_->cause;
            task.next = failed_->next;
        }
    }
    asked_.reset();
    failed_.reset();
    lastCause_.clear();
    lastNext_.clear();
}

}  // namespace Kyr::Probe
