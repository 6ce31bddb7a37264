#include "probe/doctor/LogChecks.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

#include "lab/common/LineProtocol.h"
#include "probe/doctor/LogProblems.h"

namespace Kyr::Probe {

namespace {

constexpr std::streamoff kMostBytes = std::streamoff{4} << 20;  // of its end
constexpr char kConnected[] = "Connected to product, processing tasks";
constexpr char kBroadcast[] = "Received broadcast ";

struct Line {
    std::string text;
    std::optional<std::uint64_t> stamp;
};

struct LogEnd {
    std::vector<Line> lines;
    std::size_t unread = 0;  // that are none of a host's log
};

std::string ReadEnd(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file.is_open()) {
        throw std::runtime_error("cannot be read");
    }
    const std::streamoff size = file.tellg();
    file.seekg(std::max(std::streamoff{0}, size - kMostBytes));
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

LogEnd ParseEnd(const std::string& bytes) {
    LogEnd end;
    std::istringstream text(bytes);
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        try {
            const Lab::TimedLine parsed = Lab::ParseLine(line);
            end.lines.push_back({parsed.line.Value("text"), parsed.stamp});
        } catch (const std::exception&) {
            ++end.unread;  // cut, or of somebody else
        }
    }
    return end;
}

/// How long ago; empty when the line does not say, or is of an earlier life of this machine.
std::string Age(const Line& line, std::chrono::nanoseconds now) {
    if (!line.stamp || now.count() < 0 || *line.stamp > static_cast<std::uint64_t>(now.count())) {
        return "";
    }
    const std::uint64_t seconds =
        (static_cast<std::uint64_t>(now.count()) - *line.stamp) / std::uint64_t{1000000000};
    return std::to_string(seconds) + " s ago";
}

void CheckLastChange(const LogEnd& end, std::chrono::nanoseconds now, Checks& checks) {
    const auto last = std::find_if(end.lines.rbegin(), end.lines.rend(), [](const Line& line) {
        return line.text.rfind(kBroadcast, 0) == 0;
    });
    Check check{Verdict::kFine, "last change of the area", "none that the log tells of", ""};
    if (last != end.lines.rend()) {
        const std::string age = Age(*last, now);
        // The number is the connector's own.
        check.why = "value " + last->text.substr(sizeof kBroadcast - 1, 2) +
                    (age.empty() ? ", at a time that the log does not tell" : ", noticed " + age);
    }
    checks.push_back(check);
}

struct Found {
    const LogProblem* problem;
    std::string number;
    std::size_t count;
};

std::vector<Found> ProblemsBehind(std::vector<Line>::const_iterator begin,
                                  std::vector<Line>::const_iterator end) {
    std::vector<Found> all;
    for (auto line = begin; line != end; ++line) {
        const LogProblem* const problem = FindLogProblem(line->text);
        if (problem == nullptr) {
            continue;
        }
        const std::string number = NumberBehind(*problem, line->text);
        const auto known = std::find_if(all.begin(), all.end(), [&](const Found& one) {
            return one.problem == problem && one.number == number;
        });
        if (known == all.end()) {
            all.push_back({problem, number, 1});
        } else {
            ++known->count;
        }
    }
    return all;
}

void CheckProblems(const LogEnd& end, Checks& checks) {
    // What went wrong before the connector was connected last is over.
    auto begin = end.lines.begin();
    for (auto line = begin; line != end.lines.end(); ++line) {
        begin = line->text == kConnected ? line : begin;
    }
    const std::vector<Found> all = ProblemsBehind(begin, end.lines.end());
    for (const Found& one : all) {
        checks.push_back({Verdict::kDoubtful, "log",
                          one.problem->meaning + std::string(one.number.empty() ? "" : " ") +
                              one.number +
                              (one.count > 1 ? ", " + std::to_string(one.count) + " times" : ""),
                          one.problem->next});
    }
    if (all.empty()) {
        checks.push_back({Verdict::kFine, "log problems", "none since the last connection", ""});
    }
}

}  // namespace

void CheckLog(const std::string& path, std::chrono::nanoseconds now, Checks& checks) {
    LogEnd end;
    try {
        end = ParseEnd(ReadEnd(path));
    } catch (const std::exception& problem) {
        checks.push_back({Verdict::kWrong, "host's log", problem.what(),
                          "is it the host's log, and may you read it?"});
        return;
    }
    if (end.lines.empty()) {
        checks.push_back({Verdict::kDoubtful, "host's log",
                          "none of its " + std::to_string(end.unread) + " lines is a host's",
                          "is it the host's log?"});
        return;
    }
    const std::string age = Age(end.lines.back(), now);
    checks.push_back(
        {Verdict::kFine, "host's log",
         std::to_string(end.lines.size()) + " lines" + (age.empty() ? "" : ", the last one " + age),
         ""});
    CheckLastChange(end, now, checks);
    CheckProblems(end, checks);
}

}  // namespace Kyr::Probe
