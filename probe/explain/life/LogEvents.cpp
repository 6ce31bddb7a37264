#include "probe/explain/life/LogEvents.h"

#include <string>
#include <utility>

#include "probe/explain/HostEvents.h"
#include "probe/explain/Recognise.h"

namespace Kyr::Probe {

namespace {

using LifePage::Event;
using LifePage::Lane;
using LifePage::Weight;

constexpr char kTextOfEvent[] = "2913-";

Lane LaneOfLine(const HostLine& line, LineKind kind) {
    if (line.kind != "log") {
        return Lane::kBus;
    }
    switch (kind) {
        case LineKind::kAreaChanged:
        case LineKind::kPublishing:
        case LineKind::kResending:
        case LineKind::kPingFailed:
        case LineKind::kWatchProblem:
            return Lane::kWatch;
        default:
            return Lane::kTask;
    }
}

/// By its level; if that is not told, by what the line means.
Weight WeightOfLine(int level, Ending ending) {
    switch (level) {
        case 0:
            return ending == Ending::kNone ? Weight::kOrdinary : Weight::kWarning;
        case 1:
            return Weight::kDetail;
        case 2:
            return Weight::kOrdinary;
        case 3:
            return Weight::kWarning;
        default:
            return Weight::kError;
    }
}

/// Of what the host tells besides its log.
std::string TextOfHost(const HostLine& line) {
    if (line.kind == "answer") {
        return "task given: " + FieldOf(line, "command");
    }
    const std::string text = FieldOf(line, kTextOfEvent);
    return text.empty() ? "event of a task" : "event of a task: " + text;
}

void TellFields(const HostLine& line, Event& event) {
    LifePage::Row row{"TASK", {}};
    for (const auto& [key, value] : line.fields) {
        const bool isSymbol = !key.empty() && key[0] >= '0' && key[0] <= '9';
        (isSymbol ? row.symbols : event.fields).emplace_back(key, value);
    }
    if (!row.symbols.empty()) {
        event.rows.push_back(row);
    }
}

Event EventOfLine(const HostLine& line, const std::string& file, LifePage::Clock clock) {
    Event event;
    event.kind = line.kind;
    event.level = line.level;
    event.fields.emplace_back("place", file + ":" + std::to_string(line.number));
    if (line.time.empty() && clock != LifePage::Clock::kOrder) {
        event.fields.emplace_back("no time", "the line has none: this is that of the one before");
    }
    const Recognised found = Recognise(line.text);
    event.lane = LaneOfLine(line, found.kind);
    event.weight = line.kind == "log" ? WeightOfLine(line.level, found.ending) : Weight::kOrdinary;
    event.text = line.kind == "log" ? line.text : TextOfHost(line);
    if (!found.cause.empty()) {
        event.fields.emplace_back("why", found.cause);
    }
    if (!found.next.empty()) {
        event.fields.emplace_back("next", found.next);
    }
    TellFields(line, event);
    return event;
}

}  // namespace

std::vector<HostRun> TellLogEvents(const HostLog& log, const LogMoments& moments,
                                   LifePage::Life& life) {
    std::vector<HostRun> runs;
    for (std::size_t at = 0; at < log.lines.size(); ++at) {
        const HostLine& line = log.lines[at];
        const LineKind kind = Recognise(line.text).kind;
        const bool looks = kind == LineKind::kConnecting;
        if (at == 0 || looks || kind == LineKind::kDeactivated) {
            runs.push_back({at, at, looks});
            const LifePage::Moment from = moments.moments[at];
            life.processes.push_back(
                {"host " + std::to_string(life.processes.size() + 1), from, from, ""});
        }
        Event event = EventOfLine(line, log.files[line.file], moments.clock);
        event.at = moments.moments[at];
        event.process = life.processes.size() - 1;
        life.processes.back().until = event.at;
        runs.back().end = at + 1;
        life.events.push_back(std::move(event));
    }
    return runs;
}

}  // namespace Kyr::Probe
