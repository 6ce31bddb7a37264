// What a host's log tells of the connector: its connections, its outages, and of each task what
// became of it and why.
//
// A log names a task when the product is asked, by its three identifiers; of a task that never got
// so far it has the name of the message only. What came back from the product it does not name: an
// outcome belongs to a task if no other one waits, or if the lab's host tells its identifiers.
//
// Values. Every text here is our own or has been made safe; none is of a record or a policy.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Kyr::Probe {

/// A place in the log.
struct Place {
    std::string time;                    // may be empty
    std::string where;                   // "<file>:<line>"
    std::optional<std::uint64_t> stamp;  // nanoseconds of the machine's clock
    std::size_t line = 0;                // its number among those that were read
};

struct Outage {
    Place begins;
    std::string cause;
    std::string next;
    int attempts = 0;
    bool over = false;
    Place ends;
    std::optional<Place> stopped;  // the host stopped the connector in it, and started it no more
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

/// In words: what the state means.
const char* InWords(TaskState state);

/// What one line tells of a task.
struct Station {
    Place place;
    std::string text;
    TaskState state = TaskState::kGiven;  // from there on
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
    std::vector<Station> road;

    /// Done, or with the product.
    bool IsWell() const;
    /// Not done, and nobody tries it again.
    bool IsLost() const;
};

/// Something else that is wrong, with how often it was told.
struct ProblemStory {
    Place first;
    int times = 0;
    std::string cause;
    std::string next;
    bool over = false;    // what is behind it is mended, as far as the log tells
    bool isLoss = false;  // a task that is not done, and that nobody tries again
};

struct Story {
    std::vector<Place> connections;
    std::optional<ProblemStory>
        deactivated;          // why the connector does nothing, since it was started last
    bool connecting = false;  // at the end of the log
    std::vector<Outage> outages;
    std::vector<TaskStory> tasks;
    std::vector<ProblemStory> problems;
    std::size_t lines = 0;
    std::size_t others = 0;
    std::size_t tooLong = 0;

    /// Whether nothing is wrong: there are lines of the connector, every task is done or with the
    /// product, and no outage was seen.
    bool IsFine() const;

    /// Whether there are tasks, and each is done or with the product.
    bool AreTasksWell() const;

    /// Whether an outage goes on at the end of the log.
    bool IsOut() const;

    /// Whether there is a task whose identifiers the log does not have.
    bool HasUnnamedTask() const;

    /// Why the product was not asked for a task whose identifiers are not here: the likely cause.
    ProblemStory WhyNotAsked() const;

    /// What is wrong at the end of the log: an outage that goes on, tasks that have failed, and
    /// problems that are not over. A cause stands there once.
    std::vector<ProblemStory> Open() const;
};

}  // namespace Kyr::Probe
