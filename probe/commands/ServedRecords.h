// What the replies with records and with actions have in common.
//
// Threads: any. Errors: std::runtime_error for a short reply.
#pragma once

#include <string>

#include "probe/session/Session.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

/// Says how many there are, and where the next ones begin.
inline void TellCount(Report& report, std::uint64_t from) {
    report.notes.push_back(report.rows.empty()
                               ? "There are none from position " + std::to_string(from) + " on."
                               : std::to_string(report.rows.size()) + " from position " +
                                     std::to_string(from) + " on; the next ones begin at " +
                                     std::to_string(from + report.rows.size()) + ".");
}

/// The protobuf message of a reply; nothing when the product has none to give or refuses. What is
/// wrong with it stands in the report.
template <typename Response>
auto ReadServedRecords(const Bytes& reply, Report& report) {
    Response response;
    response.Deserialize(reply);
    auto records = response.GetResponse();
    if (!records) {
        report.notes.emplace_back("The product has none to give.");
        return records;
    }
    if (records->result_code() != 0) {
        report.exit = kSomethingFound;
        report.problem =
            Problem{"refused-by-product", "the product does not serve them: result code " +
                                              std::to_string(records->result_code())};
        records.reset();
        return records;
    }
    if (response.EndsEarly() || response.IsCut()) {
        report.exit = kSomethingFound;
        report.problem =
            Problem{"wrong-reply", response.IsCut() ? "the reply has too many records"
                                                    : "the payload of the reply ends early"};
    }
    return records;
}

}  // namespace Kyr::Probe
