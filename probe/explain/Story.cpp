#include "probe/explain/Story.h"

#include <algorithm>

namespace Kyr::Probe {

namespace {

constexpr char kNotConnected[] = "not connected: the log ends before the product has answered";

/// Adds to the one with the same cause, if there is one.
void Add(std::vector<ProblemStory>& all, const ProblemStory& problem) {
    const auto known = std::find_if(all.begin(), all.end(), [&](const ProblemStory& one) {
        return one.cause == problem.cause;
    });
    if (known == all.end()) {
        all.push_back(problem);
    } else {
        known->times += problem.times;
    }
}

/// A task of which is known that it is not done. What the product may still answer is not among
/// them: every log ends somewhere.
bool HasFailed(const TaskStory& task) {
    return task.state == TaskState::kRetried || task.IsLost();
}

}  // namespace

bool TaskStory::IsWell() const {
    return state == TaskState::kDone || state == TaskState::kDoneWithWarning ||
           state == TaskState::kTold || state == TaskState::kAccepted;
}

bool TaskStory::IsLost() const {
    return state == TaskState::kFailed || state == TaskState::kFailedAtProduct ||
           state == TaskState::kGivenUp;
}

bool Story::IsFine() const {
    return lines != 0 && problems.empty() && outages.empty() && !connecting &&
           (tasks.empty() || AreTasksWell());
}

bool Story::AreTasksWell() const {
    return !tasks.empty() && std::all_of(tasks.begin(), tasks.end(),
                                         [](const TaskStory& task) { return task.IsWell(); });
}

bool Story::IsOut() const {
    return !outages.empty() && !outages.back().over;
}

bool Story::HasUnnamedTask() const {
    return std::any_of(tasks.begin(), tasks.end(),
                       [](const TaskStory& task) { return task.identifiers.empty(); });
}

ProblemStory Story::WhyNotAsked() const {
    if (lines == 0) {
        return {{},
                1,
                "the connector was not loaded, could not start, or writes into another log",
                "`ovprobe doctor --log host.log --database host.db` looks at the endpoint itself"};
    }
    if (deactivated) {
        return *deactivated;
    }
    if (IsOut()) {
        const Outage& outage = outages.back();
        return {outage.begins, 1, outage.cause, outage.next};
    }
    if (connecting) {
        return {{}, 1, kNotConnected, "`ovprobe doctor` tells whether the product can be reached"};
    }
    if (HasUnnamedTask()) {
        return {{}, 1, "it may be one of those that the log does not name", ""};
    }
    return {{},
            1,
            "the host has not given it to the connector, or in another log",
            "look into older logs, and whether the server has sent it"};
}

std::vector<ProblemStory> Story::Open() const {
    std::vector<ProblemStory> open;
    const bool isOut = IsOut();
    if (isOut) {
        const Outage& outage = outages.back();
        open.push_back({outage.begins, 1, outage.cause, outage.next});
    } else if (connecting) {
        open.push_back({{}, 1, kNotConnected, ""});
    }
    for (const TaskStory& task : tasks) {
        if (HasFailed(task)) {
            Add(open, {task.first, 1,
                       (task.what.empty() ? "a task" : task.what) + ": " + InWords(task.state) +
                           (task.cause.empty() ? "" : ": " + task.cause),
                       task.next, /*over=*/false, task.IsLost()});
        }
    }
    for (const ProblemStory& problem : problems) {
        const bool isOutage = isOut && problem.cause == outages.back().cause;
        if (!problem.over && !isOutage) {
            Add(open, problem);
        }
    }
    return open;
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
