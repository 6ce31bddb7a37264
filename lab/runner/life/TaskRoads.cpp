#include <deque>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>

#include "lab/common/CommandWords.h"
#include "lab/runner/life/Tellers.h"
#include "lab/runner/life/ToldEvents.h"

namespace Kyr::Lab::Runner {

namespace {

using boost::algorithm::starts_with;
using LifePage::Event;
using LifePage::Task;
using State = Task::State;
using StationWeight = LifePage::Weight;

/// What the server wants by that message, for people; empty: it is no task.
std::string Wanted(const std::string& message) {
    static const std::map<std::string, std::string> kTasks{
        {"KillProcessByPid", "end process"},
        {"BlockExecutableByHash", "block program"},
        {"ApplyPolicy", "apply a policy"},
        {"RequestConfiguration", "tell the configuration"}};
    const auto found = kTasks.find(message);
    return found == kTasks.end() ? "" : found->second;
}

/// What is to be done by a typed line: its first word.
std::string CommandOf(const std::string& line) {
    return line.substr(0, line.find_first_of(" \t\r"));
}

/// What the server wants done with: the process or the program that was typed.
std::string Subject(const std::string& line) {
    try {
        CCommandWords words(SplitWords(line));
        const std::string process = words.TakeValue("pid").value_or("");
        const std::string hash = words.TakeValue("sha256").value_or("");
        return !process.empty() ? " " + process : hash.empty() ? "" : " " + hash.substr(0, 12);
    } catch (const std::invalid_argument&) {
        return "";  // it has no words, and no host has carried it out
    }
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    if (!text.empty()) {
        boost::algorithm::split(parts, text, [&](char byte) { return byte == separator; });
    }
    return parts;
}

/// The value of a symbol of that number.
std::string Symbol(const LifePage::Row& row, const std::string& number) {
    for (const auto& [name, value] : row.symbols) {
        if (name.compare(0, name.find('-'), number) == 0) {
            return value;
        }
    }
    return "";
}

class CTaskTeller {
  public:
    explicit CTaskTeller(LifePage::Life& life) : life_(life) {}

    void Tell() {
        for (at_ = 0; at_ < life_.events.size(); ++at_) {
            Event& event = life_.events[at_];
            if (event.kind == "command" && event.lane == LifePage::Lane::kBus) {
                typed_[CommandOf(event.text)].push_back(event.text);
            } else if (event.kind == "answer" && event.lane == LifePage::Lane::kBus) {
                answered_ = TakeTyped(event);
                identifiers_ = Split(Value(event, "ids"), ',');
            } else if (event.kind == "error" && event.lane == LifePage::Lane::kHost) {
                TakeTyped(event);
                Take(event);
            } else if (event.kind == "publish" && Value(event, "by") == "host") {
                Give(event);
            } else if (event.kind == "end" && event.lane == LifePage::Lane::kHost) {
                EndHost(event);
            } else {
                Take(event);
            }
        }
    }

  private:
    /// The host carries out what was typed one line after the other, and says of each the command
    /// only. Of one that cannot be split into words it says all, which begins with the command.
    std::string TakeTyped(const Event& event) {
        std::deque<std::string>& lines = typed_[CommandOf(Value(event, "command"))];
        if (lines.empty()) {
            return "";
        }
        std::string line = std::move(lines.front());
        lines.pop_front();
        return line;
    }

    void Give(Event& event) {
        const std::string what = Wanted(Value(event, "name"));
        if (!what.empty()) {
            Task task;
            task.what = what + Subject(answered_);
            task.identifiers = identifiers_;
            task.from = event.at;
            if (!identifiers_.empty()) {
                byIdentifier_[identifiers_.front()] = life_.tasks.size();
            }
            byMessage_[at_] = life_.tasks.size();
            event.tasks.push_back(life_.tasks.size());
            life_.tasks.push_back(task);
            ofHost_.push_back(life_.tasks.size() - 1);
            Add(life_.tasks.back(), "given to the host", StationWeight::kOrdinary);
        }
        answered_.clear();
        identifiers_.clear();
    }

    void Take(Event& event) {
        if (event.kind == "publish" && Value(event, "name") == "EventLog_TASK") {
            for (const LifePage::Row& row : event.rows) {
                TakeOutcome(event, row);
            }
            return;
        }
        const auto task = TaskOf(event);
        if (!task) {
            return;
        }
        event.tasks.push_back(*task);
        std::string& undone = undone_[*task];
        if (event.kind == "request") {
            undone.clear();
            TakeRequest(life_.tasks[*task], event);
        } else if (event.kind == "reply") {
            TakeReply(life_.tasks[*task], event, undone);
        } else if (event.kind == "did") {
            TakeDeed(life_.tasks[*task], event, undone);
        } else if (event.kind == "log") {
            TakeLog(life_.tasks[*task], event);
        }
    }

    std::optional<std::size_t> TaskOf(const Event& event) const {
        const std::vector<std::string> told = Split(Value(event, "userdata"), ';');
        const auto known = told.empty() ? byIdentifier_.end() : byIdentifier_.find(told.front());
        if (known != byIdentifier_.end()) {
            return known->second;
        }
        const auto found = event.message ? byMessage_.find(*event.message) : byMessage_.end();
        return found == byMessage_.end() ? std::nullopt : std::make_optional(found->second);
    }

    void Add(Task& task, const std::string& text, StationWeight weight) {
        task.road.push_back({life_.events[at_].at, text, weight, at_});
        task.until = life_.events[at_].at;
    }

    void TakeRequest(Task& task, const Event& event) {
        ++task.attempts;
        task.state = State::kAsked;
        Add(task,
            "product asked over " + boost::algorithm::to_upper_copy(Value(event, "transport")),
            StationWeight::kOrdinary);
    }

    void TakeReply(Task& task, const Event& event, const std::string& undone) {
        const std::string status = Value(event, "status");
        if (!Value(event, "delivery").empty()) {
            Add(task, "no reply", StationWeight::kWarning);
        } else if (status == "0") {
            task.state = undone.empty() ? State::kAccepted : State::kAcceptedNotDone;
            task.why = undone;
            Add(task, "accepted", StationWeight::kOrdinary);
        } else {
            Fail(task, "refused with status " + status);
            Add(task, task.why, StationWeight::kWarning);
        }
    }

    static void Fail(Task& task, const std::string& why) {
        task.state = State::kFailing;
        task.why = why;
    }

    void TakeDeed(Task& task, const Event& event, std::string& undone) {
        const std::string outcome = Value(event, "outcome");
        if (Value(event, "action") == "task-result") {
            Add(task, "outcome fetched", StationWeight::kDetail);
        } else if (outcome == "refused") {
            undone = "product does not do it: " + Value(event, "text");
            Add(task, undone, StationWeight::kWarning);
        } else {
            Add(task, "product does it" + (outcome.empty() ? "" : ": " + Value(event, "text")),
                StationWeight::kOrdinary);
        }
    }

    void TakeLog(Task& task, const Event& event) {
        if (starts_with(event.text, "Message task was canceled")) {
            const bool tooOften = event.text.find("maximum retry count") != std::string::npos;
            const std::string limit = tooOften ? "it was tried as often as a task may be"
                                               : "the product is not available";
            GiveUp(task, limit);
            Add(task, "given up: " + limit, StationWeight::kError);
        } else if (event.text == "Reconnecting to product") {
            Add(task, "connector connects again", StationWeight::kOrdinary);
        } else if (event.level == 4) {
            Fail(task, event.text);
            Add(task, event.text, StationWeight::kError);
        }
    }

    /// Why is the limit, and what went wrong the last time.
    static void GiveUp(Task& task, const std::string& limit) {
        task.state = State::kGivenUp;
        task.why = limit + (task.why.empty() ? "" : "; the last time: " + task.why);
    }

    void TakeOutcome(Event& event, const LifePage::Row& row) {
        const auto found = byIdentifier_.find(Symbol(row, "2842"));
        if (found == byIdentifier_.end()) {
            return;
        }
        Task& task = life_.tasks[found->second];
        event.tasks.push_back(found->second);
        const std::string outcome = Symbol(row, "2848");
        const std::string description = Symbol(row, "2913");
        if (outcome == "0x000000010000000b") {
            task.state = State::kDone;
            task.why.clear();
            Add(task, "server is told: done", StationWeight::kOrdinary);
        } else if (outcome == "0x000000010000000a") {
            task.state = State::kDoneWithWarning;
            Add(task, "server is told: done, with a warning", StationWeight::kWarning);
        } else if (outcome == "0x000000010000009b") {
            task.state = State::kGivenUp;
            Add(task, "server is told: given up", StationWeight::kError);
        } else if (Symbol(row, "2836") == "4") {
            task.state = State::kFailed;
            task.why = description.empty() ? task.why : description;
            Add(task, "server is told: failed", StationWeight::kError);
        } else {
            Fail(task, description.empty() ? task.why : description);
            Add(task, "server is told: failed, to be tried again", StationWeight::kWarning);
        }
    }

    /// What the product has not accepted goes with the host, and so does what was typed.
    void EndHost(Event& event) {
        for (const std::size_t number : ofHost_) {
            Task& task = life_.tasks[number];
            if (task.state == State::kGiven || task.state == State::kAsked ||
                task.state == State::kFailing) {
                event.tasks.push_back(number);
                task.state = State::kDropped;
                Add(task, "host ended before it was done", StationWeight::kWarning);
            }
        }
        ofHost_.clear();
        typed_.clear();
    }

    LifePage::Life& life_;
    std::size_t at_ = 0;
    std::map<std::string, std::deque<std::string>> typed_;  // by command: lines to be answered
    std::string answered_;                                  // the line of the task given next
    std::vector<std::string> identifiers_;                  // of that task
    std::vector<std::size_t> ofHost_;  // the tasks that the host which runs was given
    std::map<std::string, std::size_t> byIdentifier_;
    std::map<std::size_t, std::size_t> byMessage_;
    std::map<std::size_t, std::string> undone_;  // by task: why what was asked last is not done
};

}  // namespace

void TellTasks(LifePage::Life& life) {
    CTaskTeller(life).Tell();
}

}  // namespace Kyr::Lab::Runner
