#include "probe/commands/Ping.h"

#include <optional>

#include "probe/session/PortPing.h"

namespace Kyr::Probe {

namespace {

Value ProcessOrNothing(const PingFinding& finding) {
    return finding.serverProcess == 0 ? Value() : Value(std::uint64_t{finding.serverProcess});
}

}  // namespace

Report PingBothPorts(const SessionOptions& options) {
    Report report;
    report.command = "ping";
    report.columns = {{"port"},    {"answers"},       {"milliseconds"},
                      {"process"}, {"program", true}, {"why"}};
    bool anyAnswers = false;
    std::optional<PingFinding> first;
    for (const Port port : {Port::kAdvanced, Port::kLegacy}) {
        const PingFinding finding = PingPort(port, options);
        // The one that says more: that a port is absent may be as it should be.
        if (!first || (first->cause == Cause::kPortAbsent && finding.cause != Cause::kPortAbsent)) {
            first = finding;
        }
        const bool answers = finding.time.has_value();
        anyAnswers = anyAnswers || answers;
        report.rows.push_back(
            {NameOf(port), answers,
             answers ? Value(static_cast<double>(finding.time->count()) / 1000) : Value(),
             ProcessOrNothing(finding), finding.program.empty() ? Value() : Value(finding.program),
             answers ? Value() : Value(finding.reason)});
    }
    if (!anyAnswers) {
        report.exit = kNotReached;
        report.problem =
            Problem{NameOf(first->cause), CNotReached(first->cause, first->reason).what()};
    }
    return report;
}

}  // namespace Kyr::Probe
