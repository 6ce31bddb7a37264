#include <map>
#include <stdexcept>
#include <string>

#include "lab/common/CommandWords.h"
#include "lab/runner/life/Tellers.h"
#include "lab/runner/life/ToldEvents.h"

namespace Kyr::Lab::Runner {

namespace {

using LifePage::Event;

/// Nothing for what is no number.
std::optional<std::uint64_t> Number(const Event& event, const std::string& key) {
    try {
        return ParseNumber(Value(event, key));
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

/// The kind of the records that the host's data miner has stored, by the name of their message.
std::string MinedKind(const Event& event) {
    static const std::map<std::string, std::string> kKinds{
        {"DataMinerStoreEcsIndicatorLogs", "indicator"},
        {"DataMinerStoreEcsTelemetryLogs", "telemetry"}};
    const auto kind = kKinds.find(Value(event, "name"));
    return kind == kKinds.end() ? Value(event, "name") : kind->second;
}

LifePage::Records& OfKind(LifePage::Life& life, const std::string& kind) {
    for (LifePage::Records& records : life.records) {
        if (records.kind == kind) {
            return records;
        }
    }
    life.records.push_back({kind, {}, {}, {}, {}, {}});
    return life.records.back();
}

}  // namespace

void TellRecords(LifePage::Life& life) {
    std::map<std::string, LifePage::Records> tallies;  // the last ones, which are of the whole run
    for (std::size_t at = 0; at < life.events.size(); ++at) {
        const Event& event = life.events[at];
        if (event.kind == "handed") {
            OfKind(life, Value(event, "kind"))
                .batches.push_back({event.at, Number(event, "from").value_or(0),
                                    Number(event, "records").value_or(0), at});
        } else if (event.kind == "mined") {
            LifePage::Records& records = OfKind(life, MinedKind(event));
            records.stored = records.stored.value_or(0) + Number(event, "records").value_or(0);
        } else if (event.kind == "tally") {
            const std::string kind = Value(event, "kind");
            tallies[kind] = {kind,
                             {},
                             Number(event, "sent"),
                             Number(event, "stored"),
                             Number(event, "twice"),
                             Number(event, "lost")};
        }
    }
    for (const auto& [kind, tally] : tallies) {
        LifePage::Records& records = OfKind(life, kind);
        records.sent = tally.sent;
        records.stored = tally.stored;
        records.twice = tally.twice;
        records.lost = tally.lost;
    }
}

}  // namespace Kyr::Lab::Runner
