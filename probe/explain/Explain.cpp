#include "probe/explain/Explain.h"

#include <algorithm>
#include <filesystem>
#include <ostream>

#include <boost/date_time/posix_time/posix_time.hpp>

#include "lifepage/LifePage.h"
#include "probe/NewFile.h"
#include "probe/explain/HostLog.h"
#include "probe/explain/StoryText.h"
#include "probe/explain/Tell.h"
#include "probe/explain/life/LogLife.h"

namespace Kyr::Probe {

namespace {

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char sign) {
        return sign >= 'A' && sign <= 'Z' ? static_cast<char>(sign - 'A' + 'a') : sign;
    });
    return text;
}

/// Date, version and command, and how much was read.
std::string ReadBy(const ExplainOptions& options, const Story& story) {
    const auto now = boost::posix_time::second_clock::universal_time();
    std::string text =
        boost::posix_time::to_iso_extended_string(now) + "Z ovprobe " KYR_VERSION ": explain";
    for (const std::string& log : options.logs) {
        text += " " + log;
    }
    return text + "; " + std::to_string(story.lines) + " lines of the connector, " +
           std::to_string(story.others) + " others" +
           (story.tooLong == 0 ? "" : ", " + std::to_string(story.tooLong) + " too long to read");
}

void WriteReport(const ExplainOptions& options, const HostLog& log, const Story& story) {
    MakeNewFile("a page", options.report);
    LifePage::WritePage(options.report, {LifeOf(log, story, ReadBy(options, story))});
}

/// All of the story. True: nothing is wrong.
bool TellAll(const Story& story, bool json, std::ostream& out) {
    if (json) {
        out << ToJson(story) << '\n';
    } else {
        WriteStory(out, story);
    }
    return story.IsFine();
}

/// True: the task is done, or with the product.
bool TellTask(const Story& story, const ExplainOptions& options, std::ostream& out) {
    const std::string identifier = LowerCase(options.task);
    if (options.json) {
        out << ToJson(story, identifier) << '\n';
    } else {
        WriteTasks(out, story, identifier);
    }
    return OnlyTask(story, identifier).AreTasksWell();
}

}  // namespace

bool Explain(const ExplainOptions& options, std::ostream& out) {
    HostLog log;
    for (const std::string& path : options.logs) {
        ReadHostLogFile(path, log);
    }
    const Story story = Tell(log);
    if (!options.report.empty()) {
        WriteReport(options, log, story);
    }
    const bool isWell =
        options.task.empty() ? TellAll(story, options.json, out) : TellTask(story, options, out);
    if (!options.report.empty() && !options.json) {
        out << "\nTo look at in a browser: " << std::filesystem::absolute(options.report).string()
            << '\n';
    }
    return isWell;
}

}  // namespace Kyr::Probe
