#include "probe/explain/StoryText.h"

#include <algorithm>
#include <ostream>

#include <nlohmann/json.hpp>

namespace Kyr::Probe {

namespace {

using Json = nlohmann::ordered_json;

std::string InText(const Place& place) {
    return place.time.empty() ? place.where : place.time + " (" + place.where + ")";
}

void WriteCause(std::ostream& out, const std::string& cause, const std::string& next) {
    if (!cause.empty()) {
        out << "      why:  " << cause << '\n';
    }
    if (!next.empty()) {
        out << "      next: " << next << '\n';
    }
}

std::string NameOf(const TaskStory& task) {
    std::string name;
    for (const std::string& identifier : task.identifiers) {
        name += (name.empty() ? "" : ";") + identifier;
    }
    return name.empty() ? "identifiers not in the log" : name;
}

void WriteTask(std::ostream& out, const TaskStory& task) {
    out << "  " << (task.what.empty() ? "a task" : task.what) << ": " << InWords(task.state) << '\n'
        << "      " << NameOf(task) << '\n'
        << "      ";
    if (task.first.where == task.last.where) {
        out << "at " << InText(task.first);
    } else {
        out << "from " << InText(task.first) << " to " << InText(task.last);
    }
    out << ", asked " << task.attempts << (task.attempts == 1 ? " time\n" : " times\n");
    WriteCause(out, task.cause, task.next);
}

void WriteOutage(std::ostream& out, const Outage& outage) {
    out << "  " << InText(outage.begins) << ", " << outage.attempts
        << (outage.attempts == 1 ? " attempt, " : " attempts, ")
        << (outage.over ? "over at " + InText(outage.ends) : "not over at the end of the log")
        << '\n';
    WriteCause(out, outage.cause, outage.next);
}

void WriteProblem(std::ostream& out, const ProblemStory& problem) {
    out << "  " << InText(problem.first);
    if (problem.times > 1) {
        out << " and " << problem.times - 1 << " times more";
    }
    out << (problem.over ? ", over later\n" : "\n");
    WriteCause(out, problem.cause, problem.next);
}

void WriteHead(std::ostream& out, const Story& story) {
    out << story.lines << (story.lines == 1 ? " line" : " lines") << " of the connector, "
        << story.others << (story.others == 1 ? " other" : " others");
    if (story.tooLong != 0) {
        out << ", " << story.tooLong << " too long to read";
    }
    out << '\n';
    for (const Place& connection : story.connections) {
        out << "connected at " << InText(connection) << '\n';
    }
    if (story.connecting) {
        out << "not connected at the end of the log\n";
    }
}

void WriteNothingRead(std::ostream& out, const Story& story) {
    out << (story.others == 0 ? "the log is empty\n" : "the log has no line of the connector\n");
    const ProblemStory why = story.WhyNotAsked();
    WriteCause(out, why.cause, why.next);
}

/// Which tasks can be asked for.
void WriteNames(std::ostream& out, const Story& story) {
    constexpr std::size_t kMost = 10;
    std::size_t count = 0;
    for (const TaskStory& task : story.tasks) {
        if (task.identifiers.empty()) {
            continue;
        }
        out << (count == 0 ? "the log has\n" : "");
        if (++count > kMost) {
            out << "  and more: `ovprobe explain` without --task tells them\n";
            return;
        }
        out << "  " << NameOf(task) << '\n';
    }
}

/// Why there is no task with an identifier that was asked for, as far as the story tells.
void WriteWhyNotAsked(std::ostream& out, const Story& story) {
    if (story.lines == 0) {
        WriteNothingRead(out, story);
        return;
    }
    out << "no request to the product in this log has that identifier\n";
    if (story.deactivated) {
        out << "the connector does no task:\n";
        WriteProblem(out, *story.deactivated);
    } else if (story.IsOut()) {
        out << "tasks wait until the connector is connected:\n";
        WriteOutage(out, story.outages.back());
    } else if (!story.HasUnnamedTask()) {
        const ProblemStory why = story.WhyNotAsked();
        WriteCause(out, why.cause, why.next);
    }
    if (story.HasUnnamedTask()) {
        out << "it may be one of those that the log does not name:\n";
    }
    for (const TaskStory& task : story.tasks) {
        if (task.identifiers.empty()) {
            WriteTask(out, task);
        }
    }
    WriteNames(out, story);
}

Json ToJson(const Place& place) {
    return {{"time", place.time}, {"where", place.where}};
}

template <typename Found, typename Make>
Json List(const std::vector<Found>& found, Make make) {
    Json list = Json::array();
    for (const Found& one : found) {
        list.push_back(make(one));
    }
    return list;
}

}  // namespace

void WriteStory(std::ostream& out, const Story& story) {
    if (story.lines == 0) {
        WriteNothingRead(out, story);
        return;
    }
    WriteHead(out, story);
    if (!story.outages.empty()) {
        out << "\nOutages and reconnections\n";
        for (const Outage& outage : story.outages) {
            WriteOutage(out, outage);
        }
    }
    if (!story.tasks.empty()) {
        out << "\nTasks\n";
        for (const TaskStory& task : story.tasks) {
            WriteTask(out, task);
        }
    }
    if (!story.problems.empty()) {
        out << "\nWrong besides\n";
        for (const ProblemStory& problem : story.problems) {
            WriteProblem(out, problem);
        }
    }
    out << '\n' << (story.IsFine() ? "nothing wrong\n" : "something is wrong\n");
}

Story OnlyTask(const Story& story, const std::string& identifier) {
    Story only = story;
    only.tasks.clear();
    std::copy_if(story.tasks.begin(), story.tasks.end(), std::back_inserter(only.tasks),
                 [&](const TaskStory& task) {
                     return std::any_of(
                         task.identifiers.begin(), task.identifiers.end(),
                         [&](const std::string& one) { return one.rfind(identifier, 0) == 0; });
                 });
    return only;
}

void WriteTasks(std::ostream& out, const Story& story, const std::string& identifier) {
    const Story only = OnlyTask(story, identifier);
    for (const TaskStory& task : only.tasks) {
        WriteTask(out, task);
    }
    if (only.tasks.empty()) {
        WriteWhyNotAsked(out, story);
    }
}

namespace {

Json Document(const Story& story) {
    return {
        {"fine", story.IsFine()},
        {"lines", story.lines},
        {"others", story.others},
        {"tooLong", story.tooLong},
        {"connected", List(story.connections, [](const Place& place) { return ToJson(place); })},
        {"connecting", story.connecting},
        {"deactivated", story.deactivated.has_value()},
        {"outages", List(story.outages,
                         [](const Outage& outage) {
                             return Json{{"begins", ToJson(outage.begins)},
                                         {"attempts", outage.attempts},
                                         {"over", outage.over},
                                         {"cause", outage.cause},
                                         {"next", outage.next}};
                         })},
        {"tasks", List(story.tasks,
                       [](const TaskStory& task) {
                           return Json{{"identifiers", task.identifiers},
                                       {"what", task.what},
                                       {"state", InWords(task.state)},
                                       {"first", ToJson(task.first)},
                                       {"last", ToJson(task.last)},
                                       {"asked", task.attempts},
                                       {"cause", task.cause},
                                       {"next", task.next}};
                       })},
        {"problems", List(story.problems, [](const ProblemStory& problem) {
             return Json{{"first", ToJson(problem.first)},
                         {"times", problem.times},
                         {"over", problem.over},
                         {"cause", problem.cause},
                         {"next", problem.next}};
         })}};
}

std::string OnOneLine(const Json& document) {
    return document.dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace

std::string ToJson(const Story& story) {
    return OnOneLine(Document(story));
}

std::string ToJson(const Story& story, const std::string& identifier) {
    const Story only = OnlyTask(story, identifier);
    Json document = Document(only);
    document["fine"] = only.AreTasksWell();
    if (only.tasks.empty()) {
        const ProblemStory why = story.WhyNotAsked();
        document["notAsked"] = {{"cause", why.cause}, {"next", why.next}};
    }
    return OnOneLine(document);
}

}  // namespace Kyr::Probe
