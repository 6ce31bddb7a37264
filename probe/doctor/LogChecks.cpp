#include "probe/doctor/LogChecks.h"

#include <algorithm>
#include <exception>

#include "probe/explain/HostLog.h"
#include "probe/explain/Recognise.h"
#include "probe/explain/Tell.h"

namespace Kyr::Probe {

namespace {

constexpr std::streamoff kMostOfALog = std::streamoff{4} << 20;  // of its end
// Of the product, which answers in milliseconds and is asked one thing at a time.
constexpr std::uint64_t kLongForARequest = 30;

/// Nothing when the line does not say, or is of an earlier life of this machine.
std::optional<std::uint64_t> SecondsSince(std::optional<std::uint64_t> stamp,
                                          std::chrono::nanoseconds now) {
    if (!stamp || now.count() < 0 || *stamp > static_cast<std::uint64_t>(now.count())) {
        return std::nullopt;
    }
    return (static_cast<std::uint64_t>(now.count()) - *stamp) / std::uint64_t{1000000000};
}

/// How long ago; empty when nobody knows.
std::string Age(const HostLine& line, std::chrono::nanoseconds now) {
    const std::optional<std::uint64_t> seconds = SecondsSince(line.stamp, now);
    return seconds ? std::to_string(*seconds) + " s ago" : "";
}

void CheckLastChange(const HostLog& log, std::chrono::nanoseconds now, Checks& checks) {
    const auto last = std::find_if(log.lines.rbegin(), log.lines.rend(), [](const HostLine& line) {
        return Recognise(line.text).kind == LineKind::kAreaChanged;
    });
    Check check{Verdict::kFine, "last change of the area", "none that the log tells of", ""};
    if (last != log.lines.rend()) {
        const std::string age = Age(*last, now);
        check.why = "value " + std::string(LeadingNumber(Recognise(last->text).rest)) +
                    (age.empty() ? ", at a time that the log does not tell" : ", noticed " + age);
    }
    checks.push_back(check);
}

/// What a task whose request was not answered means: as much as is known of how long that is.
void CheckUnanswered(const Story& story, std::chrono::nanoseconds now, Checks& checks) {
    for (const TaskStory& task : story.tasks) {
        if (task.state != TaskState::kAsked) {
            continue;
        }
        const std::optional<std::uint64_t> age = SecondsSince(task.last.stamp, now);
        if (!age || *age >= kLongForARequest) {
            checks.push_back({age ? Verdict::kWrong : Verdict::kDoubtful, "unanswered request",
                              task.what +
                                  (age ? ", asked " + std::to_string(*age) + " s ago: " : ": ") +
                                  task.cause,
                              task.next});
        }
    }
}

void CheckProblems(const Story& story, Checks& checks) {
    const std::vector<ProblemStory> open = story.Open();
    for (const ProblemStory& problem : open) {
        checks.push_back(
            {problem.isLoss ? Verdict::kWrong : Verdict::kDoubtful, problem.isLoss ? "task" : "log",
             problem.cause +
                 (problem.times > 1 ? ", " + std::to_string(problem.times) + " times" : ""),
             problem.next.empty() ? "`ovprobe explain` tells the whole story" : problem.next});
    }
    if (open.empty()) {
        checks.push_back({Verdict::kFine, "log problems", "none at its end", ""});
    }
}

}  // namespace

void CheckLog(const std::string& path, std::chrono::nanoseconds now, Checks& checks) {
    HostLog log;
    try {
        ReadHostLogEnd(path, kMostOfALog, log);
    } catch (const std::exception& problem) {
        checks.push_back({Verdict::kWrong, "host's log", problem.what(),
                          "is it the host's log, and may you read it?"});
        return;
    }
    if (log.lines.empty()) {
        checks.push_back({Verdict::kDoubtful, "host's log",
                          log.others == 0
                              ? "it is empty: the connector has written nothing"
                              : "no line of it is a host's, of " + std::to_string(log.others),
                          log.others == 0 ? "when the connector does not start, that is why; else "
                                            "see whether it is the host's log"
                                          : "is it the host's log?"});
        return;
    }
    const std::string age = Age(log.lines.back(), now);
    checks.push_back({Verdict::kFine, "host's log",
                      std::to_string(log.lines.size()) +
                          (log.lines.size() == 1 ? " line" : " lines") +
                          (age.empty() ? "" : ", the last one " + age),
                      ""});
    CheckLastChange(log, now, checks);
    const Story story = Tell(log);
    CheckUnanswered(story, now, checks);
    CheckProblems(story, checks);
}

}  // namespace Kyr::Probe
