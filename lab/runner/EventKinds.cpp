#include "lab/runner/EventKinds.h"

#include <stdexcept>

namespace Kyr::Lab::Runner {

namespace {

/// "2848-outcome" of a log's symbols, "10" of the broadcast area's values.
bool IsNumbered(const std::string& key) {
    const std::size_t digits = key.find_first_not_of("0123456789");
    return digits != 0 && (digits == std::string::npos || key[digits] == '-');
}

}  // namespace

const std::vector<EventKind>& EventKinds() {
    static const std::vector<EventKind> kinds{
        {"host", "ready", "module"},
        {"host", "life", "call result text"},
        {"host", "log", "level source text"},
        {"host", "publish", "type name context by request records"},
        {"host", "message", "type name context by read-only with-context"},
        {"host", "record", "type name context row symbol text"},
        {"host", "deliver", "type name context to"},
        {"host", "subscribe", "type to"},
        {"host", "resource", "number given"},
        {"host", "mapper", "number given"},
        {"host", "read", "key value"},
        {"host", "write", "key value actions result"},
        {"host", "failed", "fault subject"},
        {"host", "mined", "name records"},
        {"host", "tally", "kind sent stored twice lost in-order"},
        {"host", "symbols", "type name context row #"},
        {"host", "answer",
         "command ids key value subscriber pending instance remediation-action fault faults usage "
         "text"},
        {"host", "memory", "when private resident"},
        {"host", "error", "command text type name context to"},
        {"product", "ready", "pid alpc lpc"},
        {"product", "connect", "transport client pid"},
        {"product", "native", "transport client message bytes"},
        {"product", "disconnect", "transport client by"},
        {"product", "request",
         "id transport command inner name function length capacity problem bytes"},
        {"product", "reply", "id transport code status length problem bytes delivery"},
        {"product", "did", "action pid sha1 sha256 delete outcome text userdata uuid length"},
        {"product", "started", "pid name program sha256"},
        {"product", "adopted", "pid name program sha256"},
        {"product", "ended", "pid name by"},
        {"product", "handed", "kind from records"},
        {"product", "observed", "action pid name number"},
        {"product", "answer",
         "command name pid state program sha1 sha256 processes blocked number function outcome "
         "text "
         "userdata tasks status category description components offset waiting length indicator "
         "telemetry action batch bytes fault faults build index value # mutex header-size "
         "magic version data-offset data-size first-module module-count module-id user-size "
         "user-offset timestamp usage"},
        {"product", "error", "command transport operation status text"},
    };
    return kinds;
}

const EventKind& KnownKind(const std::string& actor, const std::string& kind) {
    for (const EventKind& known : EventKinds()) {
        if (known.actor == actor && known.kind == kind) {
            return known;
        }
    }
    throw std::invalid_argument("the " + actor + " tells of no \"" + kind + "\"");
}

void CheckKey(const EventKind& kind, const std::string& key) {
    const std::string keys = " " + std::string(kind.keys) + " ";
    const std::string wanted = IsNumbered(key) ? "#" : key;
    if (key.empty() || keys.find(" " + wanted + " ") == std::string::npos) {
        throw std::invalid_argument("\"" + key + "\" is no key of the " + std::string(kind.actor) +
                                    "'s " + std::string(kind.kind));
    }
}

void CheckEvent(const std::string& actor, const CLine& line) {
    const EventKind& kind = KnownKind(actor, line.Kind());
    for (const auto& field : line.Fields()) {
        CheckKey(kind, field.first);
    }
}

}  // namespace Kyr::Lab::Runner
