#include "lab/devhost/typed/MinerCommand.h"

#include <algorithm>

#include "lab/devhost/database/MinerTally.h"

namespace Kyr::Lab::DevHost {

namespace {

using Common::Kernel::MessageType;

MinerTally CountRecords(CDatabase& database, MessageType type) {
    CMinerCount count;
    database.Miner().ForEach(type, [&count](const std::string& record) { count.Take(record); });
    return count.Tally();
}

MinerTally CountActions(CDatabase& database) {
    CMinerCount count;
    for (const std::string& action : database.RemediationActions().StoredActions()) {
        count.Take(TextOfAction(action));
    }
    return count.Tally();
}

/// `sent` is how many records there were to come, as far as the person knows it.
CLine TallyLine(const char* kind, const MinerTally& tally, const std::optional<std::string>& sent) {
    CLine line = CLine("tally").With("kind", kind);
    if (sent) {
        line.With("sent", ParseNumber(*sent));
    }
    line.With("stored", tally.stored).With("twice", tally.twice);
    if (sent) {
        const std::uint64_t number = ParseNumber(*sent);
        const std::uint64_t came = tally.Distinct() + tally.unnumbered;
        line.With("lost", number - std::min(number, came));
    }
    return line.With("in-order", tally.inOrder ? "yes" : "no");
}

}  // namespace

ConsoleCommand MakeMinerCommand(CDatabase& database) {
    return {"miner", "[indicator=<sent>] [telemetry=<sent>] [action=<sent>]",
            "Counts the records that have come: stored, of them twice, of those sent lost.",
            [&database](CCommandWords& words, const LineSink& tell) {
                const auto indicators = words.TakeValue("indicator");
                const auto telemetry = words.TakeValue("telemetry");
                const auto actions = words.TakeValue("action");
                words.Finish();
                tell(TallyLine("indicator",
                               CountRecords(database, MessageType::DataMinerStoreEcsIndicatorLogs),
                               indicators));
                tell(TallyLine("telemetry",
                               CountRecords(database, MessageType::DataMinerStoreEcsTelemetryLogs),
                               telemetry));
                tell(TallyLine("action", CountActions(database), actions));
                tell(AnswerTo("miner"));
            }};
}

}  // namespace Kyr::Lab::DevHost
