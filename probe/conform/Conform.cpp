#include "probe/conform/Conform.h"

#include "probe/conform/PortPoints.h"
#include "probe/conform/RecordPoints.h"
#include "probe/doctor/AreaChecks.h"
#include "probe/doctor/Doctor.h"
#include "probe/session/PortPing.h"
#include "probe/session/Registration.h"

namespace Kyr::Probe {

namespace {

Report ReportOf(const Checks& points) {
    Report report;
    report.command = "conform";
    report.columns = {{"verdict"}, {"point"}, {"what"}};
    std::size_t fine = 0;
    for (const Check& point : points) {
        fine += point.verdict == Verdict::kFine ? 1 : 0;
        report.rows.push_back({NameOf(point.verdict), point.name, point.why});
    }
    report.notes.push_back(std::to_string(points.size()) + " points: " + std::to_string(fine) +
                           " as the protocol has them, " + std::to_string(points.size() - fine) +
                           " otherwise");
    report.notes.emplace_back(
        "Not played, since each changes something at the product: outcomes, kill, block, import, "
        "announce.");
    report.exit = fine == points.size() ? kFine : kSomethingFound;
    return report;
}

}  // namespace

Report PlayProtocol(const SessionOptions& options) {
    Checks points;
    bool anyAnswers = false;
    for (const Port port : {Port::kAdvanced, Port::kLegacy}) {
        const PingFinding ping = PingPort(port, options);
        anyAnswers = anyAnswers || ping.time.has_value();
        const std::string name = std::string(NameOf(port)) + ": ping";
        if (ping.time) {
            points.push_back({Verdict::kFine, name, "answered with code 0", ""});
            TryPort(port, options, points);
        } else if (port == Port::kLegacy && anyAnswers && ping.cause == Cause::kPortAbsent) {
            points.push_back({Verdict::kFine, name,
                              "nobody serves it, nor need anybody beside the advanced port", ""});
        } else {
            points.push_back({Verdict::kWrong, name, ping.reason, ""});
        }
    }
    if (anyAnswers) {
        TryReplies(options, ReadRegistration(), points);
    }
    CheckArea(LookAtArea(options), anyAnswers, points);
    Report report = ReportOf(points);
    if (!anyAnswers) {
        report.exit = kNotReached;
    }
    return report;
}

}  // namespace Kyr::Probe
