#include "probe/explain/Explain.h"

#include <algorithm>
#include <ostream>

#include "probe/explain/HostLog.h"
#include "probe/explain/StoryText.h"
#include "probe/explain/Tell.h"

namespace Kyr::Probe {

namespace {

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
    const Story story = Tell(log);
    if (options.task.empty()) {
        if (options.json) {
            out << ToJson(story) << '\n';
        } else {
            WriteStory(out, story);
        }
        return story.IsFine();
    }
    const std::string identifier = LowerCase(options.task);
    if (options.json) {
        out << ToJson(story, identifier) << '\n';
    } else {
        WriteTasks(out, story, identifier);
    }
    return OnlyTask(story, identifier).AreTasksWell();
}

}  // namespace Kyr::Probe
