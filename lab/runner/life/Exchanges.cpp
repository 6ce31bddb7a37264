#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include "lab/common/CommandWords.h"
#include "lab/runner/life/Tellers.h"
#include "lab/runner/life/ToldEvents.h"
#include "probe/decode/Decode.h"

namespace Kyr::Lab::Runner {

namespace {

using LifePage::Event;

std::vector<LifePage::Part> PartsOf(const std::string& bytes, const std::string& kind,
                                    std::optional<std::uint32_t> command) {
    std::vector<LifePage::Part> parts;
    for (const Probe::Field& field : Probe::Decode(bytes, kind, command).fields) {
        parts.push_back({field.offset, field.length, field.name, field.value, field.wrong});
    }
    return parts;
}

/// What a request asks for; nothing of a ping, and of bytes that are no request.
std::optional<std::uint32_t> CommandOf(const Event& request) {
    try {
        return ParseNumber32(Value(request, "inner"));
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

}  // namespace

void JoinExchanges(LifePage::Life& life) {
    std::map<std::pair<std::size_t, std::string>, std::size_t> asked;  // by process and identifier
    for (std::size_t at = 0; at < life.events.size(); ++at) {
        Event& event = life.events[at];
        const std::pair<std::size_t, std::string> exchange{event.process, Value(event, "id")};
        if (event.kind == "request") {
            asked[exchange] = at;
            if (!event.bytes.empty()) {
                event.parts = PartsOf(event.bytes, "request", std::nullopt);
            }
        } else if (event.kind == "reply") {
            const auto request = asked.find(exchange);
            std::optional<std::uint32_t> command;
            if (request != asked.end()) {
                event.answers = request->second;
                command = CommandOf(life.events[request->second]);
            }
            if (!event.bytes.empty()) {
                event.parts = PartsOf(event.bytes, "reply", command);
            }
        }
    }
}

}  // namespace Kyr::Lab::Runner
