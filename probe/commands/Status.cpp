#include "probe/commands/Status.h"

#include <iomanip>
#include <optional>
#include <sstream>

#include "kelcomm/messages/GetStatus.h"

namespace Kyr::Probe {

namespace {

using Connectors::Common::CProtectionStatusRecord;
namespace Messages = Connectors::Common::Kelcomm::Messages;

/// A symbol, as logs have it.
Value SymbolOrNothing(const std::optional<std::uint64_t>& symbol) {
    if (!symbol) {
        return {};
    }
    std::ostringstream text;
    text << "0x" << std::hex << std::setw(16) << std::setfill('0') << *symbol;
    return text.str();
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
                         MeaningOf(record.status), SymbolOrNothing(record.categoryId),
                         SymbolOrNothing(record.statusId), SymbolOrNothing(record.descriptionId)});
                }
                if (report.rows.empty()) {
                    report.notes.emplace_back("The product tells of no component.");
                }
            }};
}

}  // namespace Kyr::Probe
