#include <algorithm>
#include <google/protobuf/unknown_field_set.h>
#include <set>

#include <boost/json.hpp>

#include "host/proto/ov_agent.pb.h"
#include "lab/devhost/typed/HostCommands.h"

namespace Kyr::Lab::DevHost {

namespace {

using Common::Kernel::MessageType;

/// Records of the lab carry their number in `event.sequence`, from 1. Nothing for a text that is no
/// JSON or has none.
std::optional<std::uint64_t> SequenceOf(const std::string& record) {
    boost::json::error_code error;
    const boost::json::value value = boost::json::parse(record, error);
    const auto* const sequence = error ? nullptr : value.find_pointer("/event/sequence", error);
    if (sequence == nullptr || !sequence->is_int64() || sequence->as_int64() < 1) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(sequence->as_int64());
}

/// The text inside an action, which is itself a record; empty when there is none.
std::string TextOfAction(const std::string& action) {
    RemediationAction parsed;
    if (!parsed.ParseFromString(action)) {
        return {};
    }
    // The text is the product's own; the host's message does not name it.
    const auto& unknown = parsed.GetReflection()->GetUnknownFields(parsed);
    for (int i = 0; i < unknown.field_count(); ++i) {
        if (unknown.field(i).type() == google::protobuf::UnknownField::TYPE_LENGTH_DELIMITED) {
            return unknown.field(i).length_delimited();
        }
    }
    return {};
}

/// The account of the records of one kind.
class CTally {
  public:
    void Take(const std::string& record) {
        ++stored_;
        const std::optional<std::uint64_t> sequence = SequenceOf(record);
        if (sequence && !seen_.insert(*sequence).second) {
            ++twice_;
        } else if (sequence) {
            // Of one that came again, the first time counts.
            inOrder_ = inOrder_ && *sequence == *seen_.rbegin();
        }
    }

    /// `sent` is how many records there were to come, as far as the person knows it.
    CLine Line(const char* kind, std::optional<std::uint64_t> sent) const {
        CLine line = CLine("tally").With("kind", kind);
        if (sent) {
            line.With("sent", *sent);
        }
        line.With("stored", stored_).With("twice", twice_);
        if (sent) {
            line.With("lost", *sent - std::min(*sent, stored_ - twice_));
        }
        return line.With("in-order", inOrder_ ? "yes" : "no");
    }

  private:
    std::uint64_t stored_ = 0;
    std::uint64_t twice_ = 0;  // of them, those that had come before
    std::set<std::uint64_t> seen_;
    bool inOrder_ = true;
};

CTally CountRecords(CDatabase& database, MessageType type) {
    CTally tally;
    database.ForEachRecord(type, [&tally](const std::string& record) { tally.Take(record); });
    return tally;
}

CTally CountActions(CDatabase& database) {
    CTally tally;
    for (const std::string& action : database.StoredActions()) {
        tally.Take(TextOfAction(action));
    }
    return tally;
}

}  // namespace

ConsoleCommand MakeMinerCommand(CDatabase& database) {
    return {"miner", "[indicator=<sent>] [telemetry=<sent>] [action=<sent>]",
            "Counts the records that have come: stored, of them twice, of those sent lost.",
            [&database](CCommandWords& words, const LineSink& tell) {
                const auto indicators = words.TakeNumber("indicator");
                const auto telemetry = words.TakeNumber("telemetry");
                const auto actions = words.TakeNumber("action");
                words.Finish();
                tell(CountRecords(database, MessageType::DataMinerStoreEcsIndicatorLogs)
                         .Line("indicator", indicators));
                tell(CountRecords(database, MessageType::DataMinerStoreEcsTelemetryLogs)
                         .Line("telemetry", telemetry));
                tell(CountActions(database).Line("action", actions));
                tell(AnswerTo("miner"));
            }};
}

}  // namespace Kyr::Lab::DevHost
