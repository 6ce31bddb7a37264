#include "lab/runner/Narration.h"

#include <iomanip>
#include <map>
#include <sstream>

#include <boost/algorithm/string/case_conv.hpp>

namespace Kyr::Lab::Runner {

namespace {

/// The value of a field, or nothing.
std::string ValueIn(const CLine& line, const char* key) {
    const std::string* value = line.Find(key);
    return value == nullptr ? "" : *value;
}

std::string Over(const CLine& line) {
    return "over " + boost::algorithm::to_upper_copy(ValueIn(line, "transport"));
}

Narration Log(const CLine& line) {
    const std::string level = ValueIn(line, "level");
    const Weight weight = level == "4"   ? Weight::kError
                          : level == "3" ? Weight::kWarning
                                         : Weight::kOrdinary;
    return {"log " + level + "  " + ValueIn(line, "text"), weight};
}

Narration Request(const CLine& line) {
    if (ValueIn(line, "command") == "0") {
        return {"ping " + Over(line), Weight::kOrdinary, Road::kToProduct, true};
    }
    const std::string function = ValueIn(line, "function");
    return {(function.empty() ? ValueIn(line, "name") : function) + " " + Over(line) + ", " +
                ValueIn(line, "length") + " bytes",
            Weight::kOrdinary, Road::kToProduct};
}

Narration Reply(const CLine& line) {
    if (line.Find("delivery") != nullptr) {
        return {"no reply " + Over(line) + ": " + ValueIn(line, "delivery"), Weight::kWarning,
                Road::kFromProduct};
    }
    const std::string status = ValueIn(line, "status");
    if (status.empty()) {
        return {"answered " + Over(line), Weight::kDetail, Road::kFromProduct};
    }
    return {"status " + status + " " + Over(line) + ", " + ValueIn(line, "length") + " bytes",
            status == "0" ? Weight::kOrdinary : Weight::kWarning, Road::kFromProduct};
}

Narration Did(const CLine& line) {
    const std::string action = ValueIn(line, "action");
    if (action == "agent-uuid") {
        return {"notes who manages it: " + ValueIn(line, "uuid"), Weight::kOrdinary};
    }
    if (action == "import" || action == "export") {
        return {(action == "import" ? "takes a policy of " : "gives its configuration, ") +
                    ValueIn(line, "length") + " bytes",
                Weight::kOrdinary};
    }
    if (action == "task-result") {
        return {"tells the outcome of a task: " + ValueIn(line, "outcome"), Weight::kOrdinary};
    }
    const std::string what =
        action == "block" ? ValueIn(line, "sha256").substr(0, 12) + "..." : ValueIn(line, "pid");
    return {action + " " + what + ": " + ValueIn(line, "outcome") + ", " + ValueIn(line, "text"),
            Weight::kOrdinary};
}

Narration Process(const CLine& line) {
    const std::string by = ValueIn(line, "by");
    return {"process " + ValueIn(line, "name") + " (" + ValueIn(line, "pid") + ") " + line.Kind() +
                (by.empty() ? "" : " by " + by),
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
    const std::string name = "bus    " + ValueIn(line, "name") + " (" + ValueIn(line, "type") + ")";
    const std::string kind = ValueIn(line, "request");
    if (!kind.empty()) {
        return {name + " for " + OwnRequest(kind) + " published by the " + ValueIn(line, "by"),
                Weight::kOrdinary, Road::kNone, true};
    }
    if (line.Kind() == "publish") {
        return {name + " published by the " + ValueIn(line, "by"), Weight::kOrdinary};
    }
    return {name + " delivered to the module",
            ValueIn(line, "name") == "OvAgentRequest" ? Weight::kDetail : Weight::kOrdinary};
}

Narration Handed(const CLine& line) {
    return {"hands out " + ValueIn(line, "records") + " records (" + ValueIn(line, "kind") +
                "), from number " + ValueIn(line, "from") + " on",
            Weight::kOrdinary};
}

Narration Observed(const CLine& line) {
    return {"telemetry record " + ValueIn(line, "number") + ": " + ValueIn(line, "action") + ", " +
                ValueIn(line, "name") + " (" + ValueIn(line, "pid") + ")",
            Weight::kOrdinary};
}

Narration Mined(const CLine& line) {
    return {
        "miner  stored " + ValueIn(line, "records") + " records (" + ValueIn(line, "name") + ")",
        Weight::kOrdinary};
}

/// A row of a table: the rows of all kinds stand below each other.
Narration Tally(const CLine& line) {
    std::ostringstream text;
    text << "miner  " << std::left << std::setw(9) << ValueIn(line, "kind");
    for (const char* key : {"sent", "stored", "twice", "lost"}) {
        if (line.Find(key) != nullptr) {
            text << "  " << key << std::right << std::setw(6) << ValueIn(line, key);
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
    const std::string call = ValueIn(line, "call");
    const std::string result = ValueIn(line, "result");
    const bool stopped = call.compare(0, 5, "Stop(") == 0 && result == "true";
    return {"life   " + call + " " + result, result == "failed" ? Weight::kError
                                             : stopped          ? Weight::kOrdinary
                                                                : Weight::kDetail};
}

/// A command that was refused is what a scenario may want; other errors are not.
Narration Error(const CLine& line) {
    const std::string command = ValueIn(line, "command");
    return command.empty()
               ? Narration{line.Text(), Weight::kError}
               : Narration{"refuses: " + command + ", " + ValueIn(line, "text"), Weight::kWarning};
}

struct Teller {
    const char* kind;
    Narration (*tell)(const CLine& line);
};

constexpr Teller kTellers[] = {
    {"log", Log},           {"request", Request}, {"reply", Reply},   {"did", Did},
    {"started", Process},   {"adopted", Process}, {"ended", Process}, {"publish", Bus},
    {"deliver", Bus},       {"symbols", Symbols}, {"life", Life},     {"handed", Handed},
    {"observed", Observed}, {"mined", Mined},     {"tally", Tally},   {"error", Error},
};

}  // namespace

Narration Narrate(const CLine& line) {
    for (const Teller& teller : kTellers) {
        if (line.Kind() == teller.kind) {
            return teller.tell(line);
        }
    }
    const bool detail = line.Kind() == "answer" || line.Kind() == "connect" ||
                        line.Kind() == "disconnect" || line.Kind() == "ready";
    return {line.Text(), detail ? Weight::kDetail : Weight::kOrdinary};
}

}  // namespace Kyr::Lab::Runner
