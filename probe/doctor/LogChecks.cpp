#include "probe/doctor/LogChecks.h"

#include <algorithm>
#include <exception>

#include "probe/explain/HostLog.h"
#include "probe/explain/Recognise.h"
#include "probe/explain/Tell.h"

namespace Kyr::Probe {

namespace {

constexpr std::streamoff kMostBytes = std::streamoff{4} << 20;  // of its end
constexpr char kLastChange[] = "last change of the area";

/// How long ago; empty when the line does not say, or is of an earlier life of this machine.
std::string Age(const HostLine& line, std::chrono::nanoseconds now) {
    if (!line.stamp || now.count() < 0 || *line.stamp > static_cast<std::uint64_t>(now.count())) {
        return "";
    }
    const std::uint64_t seconds =
        (static_cast<std::uint64_t>(now.count()) - *line.stamp) / std::uint64_t{1000000000};
    return std::to_string(seconds) + " s ago";
}

void CheckLastChange(const HostLog& log, std::chrono::nanoseconds now, Checks& checks) {
    const auto last = std::find_if(log.lines.rbegin(), log.lines.rend(), [](const HostLine& line) {
        return Recognise(line.text).kind == LineKind::kAreaChanged;
    });
    Check check{Verdict::kFine, kLastChange, "none that the log tells of", ""};
    if (last != log.lines.rend()) {
        const std::string age = Age(*last, now);
        check.why = "value " + std::string(LeadingNumber(Recognise(last->text).rest)) +
                    (age.empty() ? ", at a time that the log does not tell" : ", noticed " + age);
    }
    checks.push_back(check);
}

void CheckProblems(const HostLog& log, Checks& checks) {
    const std::vector<ProblemStory> open = Tell(log).Open();
    for (const ProblemStory& problem : open) {
        checks.push_back(
            {Verdict::kDoubtful, "log",
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
        ReadHostLogEnd(path, kMostBytes, log);
    } catch (const std::exception& problem) {
        checks.push_back({Verdict::kWrong, "host's log", problem.what(),
                          "is it the host's log, and may you read it?"});
        return;
    }
    if (log.lines.empty()) {
        checks.push_back({Verdict::kDoubtful, "host's log",
                          "none of its " + std::to_string(log.others) + " lines is a host's",
                          "is it the host's log?"});
        return;
    }
    const std::string age = Age(log.lines.back(), now);
    checks.push_back(
        {Verdict::kFine, "host's log",
         std::to_string(log.lines.size()) + " lines" + (age.empty() ? "" : ", the last one " + age),
         ""});
    CheckLastChange(log, now, checks);
    CheckProblems(log, checks);
}

void MissLog(Checks& checks) {
    checks.push_back({Verdict::kFine, kLastChange,
                      "not known: the area has no times; with --log a host's log tells", ""});
}

}  // namespace Kyr::Probe
