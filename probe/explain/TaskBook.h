// The tasks that a log tells of, found again by their identifiers.
//
// Threads: one. Errors: none. Each operation takes about as long as one line of the log, whatever
// its length, so that a log of any length is read in one pass.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "probe/explain/Story.h"

namespace Kyr::Probe {

class CTaskBook {
  public:
    using Number = std::size_t;

    TaskStory& At(Number task) { return tasks_[task]; }

    /// The task with these identifiers, or a new one. Identifiers that are not three UUIDs name
    /// none: two tasks may have the same.
    Number Find(const std::vector<std::string>& identifiers, const std::string& what,
                const Place& place);
    /// One that no line names.
    Number AddNameless(const std::string& what, const Place& place);
    /// The first one of that kind that the product was not asked to do yet.
    std::optional<Number> FirstGiven(const std::string& what) const;

    void SetState(Number task, TaskState state, const Place& place);
    /// A line tells `text` of it, which is in the state that it has now.
    void AddStation(Number task, const Place& place, const std::string& text);

    /// The product has told an outcome, and the line does not say of which task.
    void TakeOutcome(const Place& place);
    /// The host has said of which task the outcome is that is told next.
    void NameOutcome() { ++named_; }

    std::vector<TaskStory> Take();

  private:
    Number Add(const std::vector<std::string>& identifiers, const std::string& what,
               const Place& place);

    std::vector<TaskStory> tasks_;
    std::map<std::vector<std::string>, Number> byIdentifiers_;
    std::set<Number> waiting_;  // accepted, no outcome yet
    std::set<Number> given_;    // not asked yet
    std::size_t untold_ = 0;    // outcomes that could not be given to a task
    std::size_t named_ = 0;     // outcomes of which the task is known, and whose line comes
};

}  // namespace Kyr::Probe
