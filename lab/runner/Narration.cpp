#include "lab/runner/Narration.h"

#include <algorithm>
#include <iomanip>
#include <map>
#include <sstream>

#include <boost/algorithm/string/case_conv.hpp>

namespace Kyr::Lab::Runner {

namespace {

using LifePage::Weight;

constexpr char kToProduct[] = "wire ->";
constexpr char kFromProduct[] = "wire <-";

/// The pattern with every {key} replaced by what the line has there, if anything.
std::string Fill(const std::string& pattern, const CLine& line) {
    std::string text;
    for (std::size_t at = 0; at < pattern.size();) {
        const std::size_t key = std::min(pattern.find('{', at), pattern.size());
        text += pattern.substr(at, key - at);
        const std::size_t end = pattern.find('}', key);
        if (end == std::string::npos) {
            break;
        }
        text += line.Value(pattern.substr(key + 1, end - key - 1));
        at = end + 1;
    }
    return text;
}

std::string Over(const CLine& line) {
    return " over " + boost::algorithm::to_upper_copy(line.Value("transport"));
}

Narration Log(const CLine& line) {
    const std::string level = line.Value("level");
    const Weight weight = level == "4"   ? Weight::kError
                          : level == "3" ? Weight::kWarning
                                         : Weight::kOrdinary;
    return {Fill("log {level}  {text}", line), weight};
}

Narration Request(const CLine& line) {
    if (line.Value("command") == "0") {
        return {"ping" + Over(line), Weight::kOrdinary, kToProduct, true};
    }
    const char* const what = line.Value("function").empty() ? "{name}" : "{function}";
    return {Fill(what + Over(line) + ", {length} bytes", line), Weight::kOrdinary, kToProduct};
}

Narration Reply(const CLine& line) {
    if (line.Find("delivery") != nullptr) {
        return {Fill("no reply" + Over(line) + ": {delivery}", line), Weight::kWarning,
                kFromProduct};
    }
    const std::string status = line.Value("status");
    if (status.empty()) {
        return {"answered" + Over(line), Weight::kDetail, kFromProduct};
    }
    return {Fill("status {status}" + Over(line) + ", {length} bytes", line),
            status == "0" ? Weight::kOrdinary : Weight::kWarning, kFromProduct};
}

Narration Did(const CLine& line) {
    static const std::map<std::string, const char*> kActions{
        {"agent-uuid", "notes who manages it: {uuid}"},
        {"import", "takes a policy of {length} bytes"},
        {"export", "gives its configuration, {length} bytes"},
        {"task-result", "tells the outcome of a task: {outcome}"},
        {"kill", "kill {pid}: {outcome}, {text}"}};
    const std::string action = line.Value("action");
    const auto known = kActions.find(action);
    return {known != kActions.end() ? Fill(known->second, line)
                                    : action + " " + line.Value("sha256").substr(0, 12) +
                                          Fill("...: {outcome}, {text}", line),
            Weight::kOrdinary};
}

/// What the module asks of itself, so that it takes the way of every message.
const char* OwnRequest(const std::string& kind) {
    static const std::map<std::string, const char*> kKinds{{"0", "protection status"},
                                                           {"2", "task results"},
                                                           {"3", "indicators"},
                                                           {"4", "telemetry"},
                                                           {"5", "remediation actions"}};
    const auto known = kKinds.find(kind);
    return known == kKinds.end() ? "" : known->second;
}

Narration Bus(const CLine& line) {
    const std::string kind = line.Value("request");
    if (!kind.empty()) {
        return {Fill("bus    {name} ({type}) for ", line) + OwnRequest(kind) +
                    Fill(" published by the {by}", line),
                Weight::kOrdinary, "", true};
    }
    if (line.Kind() == "publish") {
        return {Fill("bus    {name} ({type}) published by the {by}", line), Weight::kOrdinary};
    }
    return {Fill("bus    {name} ({type}) delivered to the module", line),
            line.Value("name") == "OvAgentRequest" ? Weight::kDetail : Weight::kOrdinary};
}

/// A row of a table: the rows of all kinds stand below each other.
Narration Tally(const CLine& line) {
    std::ostringstream text;
    text << "miner  " << std::left << std::setw(9) << line.Value("kind");
    for (const char* key : {"sent", "stored", "twice", "lost"}) {
        if (line.Find(key) != nullptr) {
            text << "  " << key << std::right << std::setw(6) << line.Value(key);
        }
    }
    return {text.str(), Weight::kOrdinary};
}

bool IsUuid(const std::string& text) {
    return text.size() == 36 && text[8] == '-' && text[13] == '-' && text[18] == '-' &&
           text[23] == '-';
}

Narration Symbols(const CLine& line) {
    std::string text = "       ";
    for (const auto& [key, value] : line.Fields()) {
        // The symbols carry their number in front of their name. Identifiers and times are for the
        // transcript.
        const bool symbol = key.find_first_of("0123456789") == 0;
        if (symbol && !IsUuid(value) && key.find("time") == std::string::npos) {
            text += " " + key.substr(key.find('-') + 1) + "=" + value;
        }
    }
    return {text, Weight::kOrdinary};
}

Narration Life(const CLine& line) {
    const std::string call = line.Value("call");
    const std::string result = line.Value("result");
    const bool stopped = call.compare(0, 5, "Stop(") == 0 && result == "true";
    return {"life   " + call + " " + result, result == "failed" ? Weight::kError
                                             : stopped          ? Weight::kOrdinary
                                                                : Weight::kDetail};
}

/// A command that was refused is what a scenario may want; other errors are not.
Narration Error(const CLine& line) {
    return line.Value("command").empty()
               ? Narration{line.Text(), Weight::kError}
               : Narration{Fill("refuses: {command}, {text}", line), Weight::kWarning};
}

const std::map<std::string, Narration (*)(const CLine& line)> kTellers{
    {"log", Log},         {"request", Request}, {"reply", Reply}, {"did", Did},
    {"publish", Bus},     {"deliver", Bus},     {"life", Life},   {"error", Error},
    {"symbols", Symbols}, {"tally", Tally}};

const std::map<std::string, const char*> kPatterns{
    {"started", "process {name} ({pid}) started"},
    {"adopted", "process {name} ({pid}) adopted"},
    {"ended", "process {name} ({pid}) ended by {by}"},
    {"handed", "hands out {records} records ({kind}), from number {from} on"},
    {"observed", "telemetry record {number}: {action}, {name} ({pid})"},
    {"mined", "miner  stored {records} records ({name})"}};

}  // namespace

Narration Narrate(const CLine& line) {
    if (const auto teller = kTellers.find(line.Kind()); teller != kTellers.end()) {
        return teller->second(line);
    }
    if (const auto known = kPatterns.find(line.Kind()); known != kPatterns.end()) {
        return {Fill(known->second, line), Weight::kOrdinary};
    }
    const bool detail = line.Kind() == "answer" || line.Kind() == "connect" ||
                        line.Kind() == "disconnect" || line.Kind() == "ready";
    return {line.Text(), detail ? Weight::kDetail : Weight::kOrdinary};
}

}  // namespace Kyr::Lab::Runner
