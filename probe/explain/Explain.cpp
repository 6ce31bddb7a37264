#include "probe/explain/Explain.h"

#include <algorithm>
#include <ostream>

#include "probe/explain/HostLog.h"
#include "probe/explain/StoryText.h"

namespace Kyr::Probe {

namespace {

bool IsWell(const TaskStory& task) {
    return task.state == TaskState::kDone || task.state == TaskState::kDoneWithWarning ||
           task.state == TaskState::kTold || task.state == TaskState::kAccepted;
}

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char sign) {
        return sign >= 'A' && sign <= 'Z' ? static_cast<char>(sign - 'A' + 'a') : sign;
    });
    return text;
}

}  // namespace

bool Explain(const ExplainOptions& options, std::ostream& out) {
    HostLog log;
    for (const std::string& path : options.logs) {
        ReadHostLogFile(path, log);
    }
    Story story = Tell(log);
    if (options.task.empty()) {
        if (options.json) {
            out << ToJson(story) << '\n';
        } else {
            WriteStory(out, story);
        }
        return story.IsFine();
    }
    story = OnlyTask(story, LowerCase(options.task));
    if (options.json) {
        out << ToJson(story) << '\n';
    } else {
        WriteTasks(out, story);
    }
    return !story.tasks.empty() && std::all_of(story.tasks.begin(), story.tasks.end(), IsWell);
}

}  // namespace Kyr::Probe
