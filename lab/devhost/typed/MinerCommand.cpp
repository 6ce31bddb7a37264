#include "lab/devhost/typed/MinerCommand.h"

#include <algorithm>

#include "lab/common/CommandWords.h"
#include "lab/common/LineProtocol.h"
#include "lab/devhost/database/MinerTally.h"

namespace Kyr::Lab::DevHost {

namespace {

using Common::Kernel::MessageType;

std::vector<std::string> StoredActions(CDatabase& database) {
    std::vector<std::string> actions = database.RemediationActions().StoredActions();
    std::transform(actions.begin(), actions.end(), actions.begin(), TextOfAction);
    return actions;
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

HostCommand MakeMinerCommand(CDatabase& database) {
    return {"miner", "[indicator=<sent>] [telemetry=<sent>] [action=<sent>]",
            "Counts the records that have come: stored, of them twice, of those sent lost.",
            [&database](CCommandArguments& arguments, const LineSink& answer) {
                const auto indicators = arguments.TakeValue("indicator");
                const auto telemetry = arguments.TakeValue("telemetry");
                const auto actions = arguments.TakeValue("action");
                arguments.Finish();
                CMinerStore& miner = database.Miner();
                answer(TallyLine("indicator",
                                 Count(miner.Records(MessageType::DataMinerStoreEcsIndicatorLogs)),
                                 indicators));
                answer(TallyLine("telemetry",
                                 Count(miner.Records(MessageType::DataMinerStoreEcsTelemetryLogs)),
                                 telemetry));
                answer(TallyLine("action", Count(StoredActions(database)), actions));
                answer(CLine("answer").With("command", "miner"));
            }};
}

}  // namespace Kyr::Lab::DevHost
