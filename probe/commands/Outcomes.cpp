#include "probe/commands/Outcomes.h"

#include <exception>

#include "host/Catalogue.h"
#include "kelcomm/client/PayloadHeader.h"
#include "kelcomm/messages/CommandHeader.h"
#include "kelcomm/messages/GetTaskStatus.h"
#include "probe/decode/Decode.h"
#include "probe/decode/FieldReader.h"
#include "probe/session/NotReached.h"

namespace Kyr::Probe {

namespace {

using Connectors::Common::CTaskStatusRecord;
using Connectors::Common::Kelcomm::kPayloadHeaderSize;
namespace Messages = Connectors::Common::Kelcomm::Messages;

constexpr std::uint32_t kCommand = static_cast<std::uint32_t>(Messages::Command::GetTaskStatus);

/// Tells the outcome of a reply, by the library's own reader.
void TellOutcome(const Bytes& reply, Report& report) {
    Messages::CGetTaskStatusResponse response;
    response.Deserialize(reply);
    for (const CTaskStatusRecord& record : response.GetRecords()) {
        // The record has the second and the third identifier of the task in each other's place.
        report.rows.push_back(
            {record.status == Kyr::Common::Catalogue::Task::kNotFailed ? "done" : "failed",
             record.code, std::int64_t{record.severity}, record.firstIdentifier.uuid(),
             record.thirdIdentifier.uuid(), record.secondIdentifier.uuid()});
    }
}

/// Field by field, since nobody will be able to ask for it again.
void TellFields(const std::string& reply, Report& report) {
    for (const Field& field : Decode(reply, "reply", kCommand).fields) {
        report.notes.push_back("  " + field.name + ": " + field.value +
                               (field.wrong.empty() ? "" : "  <- " + field.wrong));
    }
}

void TellFailure(const std::exception& failure, Report& report) {
    const auto* const missing = dynamic_cast<const CNotReached*>(&failure);
    report.exit = missing != nullptr ? kNotReached : kSomethingFound;
    report.problem =
        Problem{missing != nullptr ? NameOf(missing->GetCause()) : "wrong-reply", failure.what()};
}

}  // namespace

Report TakeOutcomes(CSession& session, std::uint64_t most, bool raw) {
    Report report;
    report.command = "outcomes";
    report.columns = {{"outcome"},     {"code"},         {"severity"},
                      {"first", true}, {"second", true}, {"third", true}};
    const Bytes request = Messages::CGetTaskStatusRequest().Serialize();
    for (std::uint64_t taken = 0; taken < most; ++taken) {
        std::string bytes;
        try {
            const Bytes reply = session.Exchange(request);
            bytes.assign(reply.begin(), reply.end());
        } catch (const std::exception& failure) {
            if (taken == 0) {
                throw;
            }
            // Nobody else can tell those that were taken before.
            TellFailure(failure, report);
            break;
        }
        report.raw += bytes;
        if (bytes.size() <= kPayloadHeaderSize) {
            report.notes.emplace_back("The product has no more of them.");
            break;
        }
        if (raw) {
            continue;
        }
        try {
            TellOutcome({bytes.begin(), bytes.end()}, report);
        } catch (const std::exception& problem) {
            report.exit = kSomethingFound;
            report.problem = Problem{"wrong-reply", problem.what()};
            report.notes.emplace_back("The connector cannot read this one, which is gone now:");
            TellFields(bytes, report);
        }
    }
    if (!report.rows.empty()) {
        report.notes.push_back(
            "Taken away from the product: " + std::to_string(report.rows.size()) +
            ". The connector will not report them.");
    }
    return report;
}

}  // namespace Kyr::Probe
