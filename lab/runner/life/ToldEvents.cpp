#include "lab/runner/life/ToldEvents.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <boost/algorithm/hex.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "lab/runner/Narration.h"
#include "lab/runner/TranscriptStreams.h"

namespace Kyr::Lab::Runner {

namespace {

using boost::algorithm::starts_with;
using LifePage::Event;
using LifePage::Lane;

/// Of a typed line and of what answers it, the word that says what it is about.
bool IsAboutArea(const CLine& line) {
    const std::string about = line.Value(line.Kind() == "command" ? "text" : "command");
    return starts_with(about, "area") || starts_with(about, "broadcast");
}

Lane LaneOfHost(const CLine& line) {
    static const std::set<std::string> kOfTheBus{"publish", "deliver",   "message", "record",
                                                 "symbols", "subscribe", "mined",   "tally",
                                                 "command", "answer"};
    if (CTranscriptStreams::IsOfTheWatch(line)) {
        return Lane::kWatch;
    }
    if (line.Kind() == "log") {
        return Lane::kTask;
    }
    if (line.Kind() == "command" && starts_with(line.Value("text"), "(")) {
        return Lane::kHost;
    }
    return kOfTheBus.count(line.Kind()) == 0 ? Lane::kHost : Lane::kBus;
}

Lane LaneOfProduct(const CLine& line) {
    static const std::set<std::string> kOfTheWire{"request", "reply", "connect", "disconnect",
                                                  "native"};
    if (kOfTheWire.count(line.Kind()) != 0) {
        return Lane::kWire;
    }
    return IsAboutArea(line) ? Lane::kArea : Lane::kProduct;
}

/// Columns of the narration are none here.
std::string WithoutColumns(const std::string& text) {
    std::string narrow;
    for (const char byte : text) {
        if (byte != ' ' || (!narrow.empty() && narrow.back() != ' ')) {
            narrow += byte;
        }
    }
    return narrow;
}

std::string TextOf(const CLine& line, const Narration& narration) {
    if (line.Kind() == "log" || line.Kind() == "command" || line.Kind() == "end") {
        return line.Value("text");
    }
    return WithoutColumns(starts_with(narration.text, "bus ") ? narration.text.substr(4)
                                                              : narration.text);
}

Event EventOf(const ToldEvent& told) {
    const Narration narration = Narrate(told.line);
    Event event;
    event.at = told.at;
    event.lane = told.actor == "host" ? LaneOfHost(told.line) : LaneOfProduct(told.line);
    event.kind = told.line.Kind();
    event.process = told.process;
    event.weight = narration.oncePerStep ? LifePage::Weight::kDetail : narration.weight;
    event.text = TextOf(told.line, narration);
    const std::string level = told.line.Value("level");
    if (event.kind == "log" && level.size() == 1 && level[0] >= '1' && level[0] <= '4') {
        event.level = level[0] - '0';
    }
    const std::optional<std::string> bytes = BytesOf(told.line);
    event.bytes = bytes.value_or("");
    for (const auto& [key, value] : told.line.Fields()) {
        const bool isBytes = bytes && key == "bytes";
        if (!isBytes && event.kind != "command" && event.kind != "end") {
            event.fields.emplace_back(key, value);
        }
    }
    return event;
}

LifePage::Row RowOf(const CLine& line) {
    LifePage::Row row{line.Value("row"), {}};
    for (const auto& [key, value] : line.Fields()) {
        if (!key.empty() && key[0] >= '0' && key[0] <= '9') {
            row.symbols.emplace_back(key, value);
        }
    }
    return row;
}

/// Which message on the bus it is about: of which process, by its context and name.
using MessageKey = std::tuple<std::size_t, std::string, std::string>;

MessageKey KeyOf(const ToldEvent& told) {
    return {told.process, told.line.Value("context"), told.line.Value("name")};
}

}  // namespace

std::vector<std::size_t> TellEvents(const std::vector<ToldEvent>& told, LifePage::Life& life) {
    std::vector<std::size_t> order(told.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t left, std::size_t right) {
        return told[left].at < told[right].at;
    });
    std::vector<std::size_t> places(told.size());
    std::map<MessageKey, std::size_t> published;  // the last one of each
    for (const std::size_t number : order) {
        const ToldEvent& one = told[number];
        if (one.line.Kind() == "symbols") {
            const auto log = published.find(KeyOf(one));
            if (log != published.end()) {
                life.events[log->second].rows.push_back(RowOf(one.line));
                places[number] = log->second;
                continue;
            }
        }
        places[number] = life.events.size();
        if (one.line.Kind() == "publish") {
            published[KeyOf(one)] = life.events.size();
        }
        life.events.push_back(EventOf(one));
    }
    return places;
}

std::optional<std::string> BytesOf(const CLine& line) {
    const std::string* const hex = line.Find("bytes");
    if (hex == nullptr || line.Kind() == "answer") {  // an answer's `bytes` is a number
        return std::nullopt;
    }
    const std::size_t wrong = hex->find_first_not_of("0123456789abcdefABCDEF");
    if (wrong != std::string::npos) {
        throw std::invalid_argument("'" + hex->substr(wrong, 1) + "' is no hexadecimal digit");
    }
    return boost::algorithm::unhex(hex->substr(0, hex->size() / 2 * 2));
}

std::string Value(const Event& event, const std::string& key) {
    const auto found = std::find_if(event.fields.begin(), event.fields.end(),
                                    [&](const auto& field) { return field.first == key; });
    return found == event.fields.end() ? "" : found->second;
}

}  // namespace Kyr::Lab::Runner
