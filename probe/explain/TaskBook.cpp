#include "probe/explain/TaskBook.h"

#include <algorithm>
#include <utility>

#include "probe/explain/TaskNames.h"

namespace Kyr::Probe {

CTaskBook::Number CTaskBook::Find(const std::vector<std::string>& identifiers,
                                  const std::string& what, const Place& place) {
    if (!AreUuids(identifiers)) {
        return Add(identifiers, what, place);
    }
    const auto known = byIdentifiers_.find(identifiers);
    if (known == byIdentifiers_.end()) {
        const Number task = Add(identifiers, what, place);
        byIdentifiers_[identifiers] = task;
        return task;
    }
    TaskStory& task = tasks_[known->second];
    task.what = task.what.empty() ? what : task.what;
    return known->second;
}

CTaskBook::Number CTaskBook::AddNameless(const std::string& what, const Place& place) {
    return Add({}, what, place);
}

CTaskBook::Number CTaskBook::Add(const std::vector<std::string>& identifiers,
                                 const std::string& what, const Place& place) {
    const Number task = tasks_.size();
    tasks_.push_back({identifiers, what, place, place, 0, TaskState::kGiven, "", "", {}});
    given_.insert(task);
    return task;
}

std::optional<CTaskBook::Number> CTaskBook::FirstGiven(const std::string& what) const {
    const auto given = std::find_if(given_.begin(), given_.end(),
                                    [&](Number task) { return tasks_[task].what == what; });
    return given == given_.end() ? std::nullopt : std::optional(*given);
}

void CTaskBook::SetState(Number task, TaskState state, const Place& place) {
    given_.erase(task);
    waiting_.erase(task);
    if (state == TaskState::kAccepted) {
        waiting_.insert(task);
    }
    tasks_[task].state = state;
    tasks_[task].last = place;
}

void CTaskBook::AddStation(Number task, const Place& place, const std::string& text) {
    tasks_[task].road.push_back({place, text, tasks_[task].state});
}

void CTaskBook::TakeOutcome(const Place& place) {
    if (named_ != 0) {
        --named_;
        return;
    }
    if (waiting_.empty() || ++untold_ != waiting_.size()) {
        return;
    }
    for (const Number task : waiting_) {
        tasks_[task].state = TaskState::kTold;
        tasks_[task].last = place;
        AddStation(task, place, "product tells an outcome");
    }
    waiting_.clear();
    untold_ = 0;
}

std::vector<TaskStory> CTaskBook::Take() {
    return std::move(tasks_);
}

}  // namespace Kyr::Probe
