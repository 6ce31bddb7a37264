#include "probe/commands/Status.h"

#include <optional>

#include "kelcomm/messages/GetStatus.h"

namespace Kyr::Probe {

namespace {

using Connectors::Common::CProtectionStatusRecord;
namespace Messages = Connectors::Common::Kelcomm::Messages;

Value NumberOrNothing(const std::optional<std::uint64_t>& number) {
    return number ? Value(*number) : Value();
}

const char* MeaningOf(std::uint32_t status) {
    switch (status) {
        case 0:
            return "fine";
        case 1:
            return "a warning";
        case 2:
            return "a problem";
        default:
            return "not available";
    }
}

}  // namespace

Question StatusQuestion() {
    return {"status", Messages::CGetStatusRequest().Serialize(),
            [](const Bytes& reply, Report& report) {
                report.columns = {{"status"}, {"meaning"}, {"category"}, {"text"}, {"description"}};
                Messages::CGetStatusResponse response;
                response.Deserialize(reply);
                for (const CProtectionStatusRecord& record : response.GetRecords()) {
                    const bool isKnown = record.status != CProtectionStatusRecord::kNotAvailable;
                    report.rows.push_back(
                        {isKnown ? Value(std::uint64_t{record.status}) : Value(),
                         MeaningOf(record.status), NumberOrNothing(record.categoryId),
                         NumberOrNothing(record.statusId), NumberOrNothing(record.descriptionId)});
                }
                if (report.rows.empty()) {
                    report.notes.emplace_back("The product tells of no component.");
                }
            }};
}

}  // namespace Kyr::Probe
