#include "probe/explain/HostEvents.h"

#include "probe/explain/Recognise.h"
#include "probe/explain/TaskNames.h"

namespace Kyr::Probe {

namespace {

// Outcomes and the status of an event, as host/Catalogue.h has them.
constexpr char kDone[] = "0x000000010000000b";
constexpr char kWarning[] = "0x000000010000000a";
constexpr char kCancelled[] = "0x000000010000009b";
constexpr char kFailedStatus[] = "4";

constexpr char kFailedAtProduct[] = "Task failed";  // the text of an event of such an outcome

TaskState StateOf(const std::string& outcome, bool failed, const std::string& text) {
    if (outcome == kDone) {
        return TaskState::kDone;
    }
    if (outcome == kWarning) {
        return TaskState::kDoneWithWarning;
    }
    if (outcome == kCancelled) {
        return TaskState::kGivenUp;
    }
    if (!failed) {
        return TaskState::kRetried;
    }
    return text == kFailedAtProduct ? TaskState::kFailedAtProduct : TaskState::kFailed;
}

/// Whether the product has told it, which has a line of its own then.
bool IsOutcomeOfProduct(TaskState state) {
    return state == TaskState::kDone || state == TaskState::kDoneWithWarning ||
           state == TaskState::kFailedAtProduct;
}

void TakeTaskEvent(const HostLine& line, const Place& place, CTaskBook& tasks) {
    const std::string ids =
        FieldOf(line, "2842-") + ';' + FieldOf(line, "2844-") + ';' + FieldOf(line, "2846-");
    const CTaskBook::Number number = tasks.Find(SplitIdentifiers(ids, ';'), "", place);
    const std::string text = FieldOf(line, "2913-");
    const TaskState state =
        StateOf(FieldOf(line, "2848-"), FieldOf(line, "2836-") == kFailedStatus, text);
    tasks.SetState(number, state, place);
    if (IsOutcomeOfProduct(state)) {
        tasks.NameOutcome();
    }
    TaskStory& task = tasks.At(number);
    if (state == TaskState::kDone) {
        task.cause.clear();
        task.next.clear();
    } else if (state == TaskState::kFailedAtProduct) {
        task.cause = "the product has taken the task, and could not carry it out";
        task.next = "look into the product's own log";
    } else if (task.cause.empty()) {
        const Recognised reason = Recognise(text);
        task.cause = reason.cause;
        task.next = reason.next;
    }
    tasks.AddStation(number, place, std::string("server is told: ") + InWords(state));
}

}  // namespace

std::string FieldOf(const HostLine& line, const std::string& beginning) {
    const auto found = line.fields.lower_bound(beginning);
    return found != line.fields.end() && found->first.rfind(beginning, 0) == 0 ? found->second : "";
}

void TakeHostEvent(const HostLine& line, const Place& place, CTaskBook& tasks) {
    if (line.kind != "answer") {
        TakeTaskEvent(line, place, tasks);
        return;
    }
    const std::string what = TaskOfCommand(FieldOf(line, "command"));
    if (!what.empty()) {
        const CTaskBook::Number number =
            tasks.Find(SplitIdentifiers(FieldOf(line, "ids"), ','), what, place);
        tasks.AddStation(number, place, "given to the host");
    }
}

}  // namespace Kyr::Probe
