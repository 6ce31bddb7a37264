// What a host's log tells of the connector: its connections, its outages, and of each task what
// became of it and why.
//
// A log names a task when the product is asked, by its three identifiers; of a task that never got
// so far it has the name of the message only. What came back from the product it does not name: an
// outcome belongs to a task if no other one waits, or if the lab's host tells its identifiers.
//
// Every text here is our own or has been made safe; none is of a record or a policy.
// Threads: one. Errors: none.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "probe/explain/HostLog.h"

namespace Kyr::Probe {

/// A place in the log.
struct Place {
    std::string time;   // may be empty
    std::string where;  // "<file>:<line>"
};

struct Outage {
    Place begins;
    std::string cause;
    std::string next;
    int attempts = 0;
    bool over = false;
    Place ends;
};

enum class TaskState {
    kGiven,     // to the connector; the product was not asked yet
    kAsked,     // nothing in the log says whether the product has answered
    kAccepted,  // by the product; no outcome yet
    kTold,      // an outcome came, and the log does not say which
    kRetried,   // it failed, and is tried again
    kDone,
    kDoneWithWarning,
    kFailedAtProduct,  // which could not carry it out
    kFailed,           // and is not tried again
    kGivenUp,
};

struct TaskStory {
    std::vector<std::string> identifiers;  // three; none when the log does not have them
    std::string what;
    Place first;
    Place last;
    int attempts = 0;
    TaskState state = TaskState::kGiven;
    std::string cause;
    std::string next;
};

/// Something else that is wrong, with how often it was told.
struct Problem {
    Place first;
    int times = 0;
    std::string cause;
    std::string next;
};

struct Story {
    std::vector<Place> connections;
    std::optional<Problem>
        deactivated;          // why the connector does nothing, since it was started last
    bool connecting = false;  // at the end of the log
    std::vector<Outage> outages;
    std::vector<TaskStory> tasks;
    std::vector<Problem> problems;
    std::size_t lines = 0;
    std::size_t others = 0;
    std::size_t tooLong = 0;

    /// Whether nothing is wrong: there are lines of the connector, every task is done or with the
    /// product, and no outage was seen.
    bool IsFine() const;
};

Story Tell(const HostLog& log);

/// In words: what the state means.
const char* InWords(TaskState state);

}  // namespace Kyr::Probe
