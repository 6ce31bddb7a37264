#include "probe/doctor/Doctor.h"

#include <algorithm>

#include "lab/common/LineWriter.h"
#include "probe/doctor/AreaChecks.h"
#include "probe/doctor/DatabaseChecks.h"
#include "probe/doctor/LogChecks.h"
#include "probe/doctor/PortChecks.h"
#include "probe/doctor/RequestChecks.h"
#include "probe/doctor/SystemChecks.h"
#include "probe/session/PortTrace.h"

namespace Kyr::Probe {

namespace {

// A reader that holds it does so for a moment.
constexpr std::chrono::milliseconds kMutexPatience{500};

Report ReportOf(const Checks& checks) {
    Report report;
    report.command = "doctor";
    report.columns = {{"verdict"}, {"check"}, {"why"}, {"next", false, true}};
    std::size_t counts[3] = {};
    for (const Check& check : checks) {
        ++counts[static_cast<std::size_t>(check.verdict)];
        report.rows.push_back({NameOf(check.verdict), check.name, check.why,
                               check.next.empty() ? Value() : Value(check.next)});
    }
    report.notes.push_back(std::to_string(checks.size()) + " checks: " + std::to_string(counts[0]) +
                           " fine, " + std::to_string(counts[1]) + " doubtful, " +
                           std::to_string(counts[2]) + " wrong");
    if (checks.size() - counts[0] > 1) {
        const auto first = std::find_if(checks.begin(), checks.end(), [](const Check& check) {
            return check.verdict != Verdict::kFine;
        });
        report.notes.push_back("Begin with \"" + first->name +
                               "\": what follows may follow from it.");
    }
    report.exit = counts[0] == checks.size() ? kFine : kSomethingFound;
    return report;
}

}  // namespace

AreaSnapshot LookAtArea(const SessionOptions& options) {
    return TakeAreaSnapshot(WitnessedNativeFunctions(options.portLayer),
                            std::min(kMutexPatience, options.timeLimit));
}

Report Examine(const DoctorOptions& options) {
    return Examine(options, LookAtArea(options.session));
}

Report Examine(const DoctorOptions& options, const AreaSnapshot& area) {
    Checks checks;
    CheckNativeFunctions(options.session.portLayer, checks);
    CheckPlaceOfNames(checks);
    const Registration registration = ReadRegistration();
    CheckRegistration(registration, checks);
    const ProductPresence product = CheckPorts(options.session, checks);
    CheckArea(area, product.isThere, checks);
    StoredValues stored;
    if (!options.database.empty()) {
        stored = CheckDatabase(options.database, checks);
    }
    if (product.answers) {
        CheckRequests(options.session, registration, stored, checks);
    }
    if (!options.log.empty()) {
        CheckLog(options.log, Lab::MachineStamp(), checks);
    }
    Report report = ReportOf(checks);
    if (options.log.empty() || options.database.empty()) {
        report.notes.emplace_back(
            std::string("The host was not ") +
            (options.log.empty() && options.database.empty() ? "" : "wholly ") +
            "looked at: --log and --database, which are its log and its database, tell more.");
    }
    if (!product.answers) {
        report.exit = kNotReached;
    }
    return report;
}

}  // namespace Kyr::Probe
