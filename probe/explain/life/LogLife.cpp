#include "probe/explain/life/LogLife.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

#include "probe/explain/life/LogEvents.h"
#include "probe/explain/life/LogMoments.h"

namespace Kyr::Probe {

namespace {

using LifePage::Task;

constexpr std::size_t kMostNames = 3;  // of files, in a title

std::string NameOfFile(const std::string& path) {
    const std::size_t folder = path.find_last_of("/\\");
    return folder == std::string::npos ? path : path.substr(folder + 1);
}

std::string TitleOf(const std::vector<std::string>& files) {
    if (files.size() > kMostNames) {
        return NameOfFile(files.front()) + " to " + NameOfFile(files.back()) + ", " +
               std::to_string(files.size()) + " files";
    }
    std::string title;
    for (const std::string& file : files) {
        title += (title.empty() ? "" : ", ") + NameOfFile(file);
    }
    return title;
}

Task::State StateOnPage(TaskState state) {
    switch (state) {
        case TaskState::kGiven:
            return Task::State::kGiven;
        case TaskState::kAsked:
            return Task::State::kAsked;
        case TaskState::kAccepted:
            return Task::State::kAccepted;
        case TaskState::kTold:
            return Task::State::kTold;
        case TaskState::kRetried:
            return Task::State::kFailing;
        case TaskState::kDone:
            return Task::State::kDone;
        case TaskState::kDoneWithWarning:
            return Task::State::kDoneWithWarning;
        case TaskState::kFailedAtProduct:
        case TaskState::kFailed:
            return Task::State::kFailed;
        case TaskState::kGivenUp:
            return Task::State::kGivenUp;
    }
    return Task::State::kGiven;
}

LifePage::Weight WeightOnPage(TaskState state) {
    switch (state) {
        case TaskState::kRetried:
        case TaskState::kDoneWithWarning:
            return LifePage::Weight::kWarning;
        case TaskState::kFailedAtProduct:
        case TaskState::kFailed:
        case TaskState::kGivenUp:
            return LifePage::Weight::kError;
        default:
            return LifePage::Weight::kOrdinary;
    }
}

std::string WithNext(const std::string& cause, const std::string& next) {
    return cause + (next.empty() ? "" : " -> " + next);
}

class CLogTeller {
  public:
    CLogTeller(const Story& story, const std::vector<HostRun>& runs, LifePage::Life& life)
        : story_(story), runs_(runs), life_(life) {}

    void Tell() {
        for (const TaskStory& task : story_.tasks) {
            TellTask(task);
        }
        for (const Outage& outage : story_.outages) {
            TellOutage(outage);
        }
        for (const HostRun& run : runs_) {
            if (run.looksForProduct) {
                TellFirstConnection(run);
            }
        }
        std::stable_sort(life_.outages.begin(), life_.outages.end(),
                         [](const LifePage::Outage& one, const LifePage::Outage& other) {
                             return one.event < other.event;
                         });
    }

  private:
    LifePage::Moment At(const Place& place) const { return life_.events.at(place.line).at; }

    void TellTask(const TaskStory& told) {
        Task task;
        task.what = told.what.empty() ? "a task" : told.what;
        task.identifiers = told.identifiers;
        task.from = At(told.first);
        task.until = At(told.last);
        task.attempts = static_cast<std::size_t>(told.attempts);
        task.state = StateOnPage(told.state);
        task.why = WithNext(told.cause, told.next);
        for (const Station& station : told.road) {
            const std::size_t event = station.place.line;
            const LifePage::Moment at = At(station.place);
            task.road.push_back({at, station.text, WeightOnPage(station.state), event});
            task.until = std::max(task.until, at);
            std::vector<std::size_t>& tasks = life_.events[event].tasks;
            if (tasks.empty() || tasks.back() != life_.tasks.size()) {
                tasks.push_back(life_.tasks.size());
            }
        }
        life_.tasks.push_back(std::move(task));
    }

    void TellOutage(const Outage& told) {
        LifePage::Outage outage;
        outage.from = At(told.begins);
        outage.until = told.over ? At(told.ends) : told.stopped ? At(*told.stopped) : life_.length;
        outage.over = told.over;
        outage.hostStopped = !told.over && told.stopped.has_value();
        outage.first = IsBeforeConnection(told.begins.line);
        outage.cause = WithNext(told.cause, told.next);
        outage.attempts = static_cast<std::size_t>(told.attempts);
        outage.event = told.begins.line;
        life_.outages.push_back(outage);
    }

    /// The time from a start to the connection behind it; not if an outage tells of it.
    void TellFirstConnection(const HostRun& run) {
        const Place* const connected = ConnectionIn(run.begin, run.end);
        const std::size_t end = connected != nullptr ? connected->line : run.end;
        const Outage* const before = LastOutage(run.begin);
        const Outage* const within = LastOutage(end);
        const bool goesOn = before != nullptr && (!before->over || before->ends.line > run.begin);
        if (goesOn || (within != nullptr && within->begins.line >= run.begin)) {
            return;
        }
        LifePage::Outage outage;
        outage.from = life_.events[run.begin].at;
        outage.until = life_.events[connected != nullptr ? end : end - 1].at;
        outage.over = connected != nullptr;
        outage.first = true;
        outage.cause = "the connector looks for the product";
        outage.event = run.begin;
        life_.outages.push_back(outage);
    }

    /// Whether a connector was started there or before, and was not connected until then.
    bool IsBeforeConnection(std::size_t line) const {
        const HostRun& run = runs_.at(life_.events[line].process);
        return run.looksForProduct && ConnectionIn(run.begin, line) == nullptr;
    }

    const Place* ConnectionIn(std::size_t begin, std::size_t end) const {
        const auto found = std::lower_bound(
            story_.connections.begin(), story_.connections.end(), begin,
            [](const Place& place, std::size_t line) { return place.line < line; });
        return found == story_.connections.end() || found->line >= end ? nullptr : &*found;
    }

    /// The last one that began there or before.
    const Outage* LastOutage(std::size_t line) const {
        const auto behind = std::upper_bound(
            story_.outages.begin(), story_.outages.end(), line,
            [](std::size_t at, const Outage& outage) { return at < outage.begins.line; });
        return behind == story_.outages.begin() ? nullptr : &*std::prev(behind);
    }

    const Story& story_;
    const std::vector<HostRun>& runs_;
    LifePage::Life& life_;
};

}  // namespace

LifePage::Life LifeOf(const HostLog& log, const Story& story, std::string toldBy) {
    const LogMoments moments = MomentsOf(log);
    LifePage::Life life;
    life.title = TitleOf(log.files);
    life.toldBy = std::move(toldBy);
    life.clock = moments.clock;
    life.begin = std::chrono::system_clock::time_point(moments.begin);
    life.length = moments.moments.empty() ? LifePage::Moment() : moments.moments.back();
    const std::vector<HostRun> runs = TellLogEvents(log, moments, life);
    CLogTeller(story, runs, life).Tell();
    return life;
}

}  // namespace Kyr::Probe
