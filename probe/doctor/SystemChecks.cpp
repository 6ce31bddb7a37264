#include "probe/doctor/SystemChecks.h"

#include "kelcomm/native/NativeTable.h"
#include "probe/session/System.h"

namespace Kyr::Probe {

namespace Native = Connectors::Common::Kelcomm::Native;

namespace {

const char* SwitchedOn(std::int64_t build) {
    return build < kFirstBuildWithIndicators
               ? "all tasks, but no indicators and no telemetry: the product is older than they are"
           : build < kFirstBuildWithTelemetry
               ? "all tasks and indicators, but no telemetry: the product is older than it is"
               : "all tasks, indicators and telemetry";
}

}  // namespace

const char* NameOf(Verdict verdict) {
    return verdict == Verdict::kFine       ? "fine"
           : verdict == Verdict::kDoubtful ? "doubtful"
                                           : "wrong";
}

void CheckNativeFunctions(bool portLayer, Checks& checks) {
    const NativeLookup find = LookupOf(portLayer);
    const Native::NativeTable table = Native::AllNativeFunctions();
    std::string missing;
    std::size_t expected = 0;
    for (std::size_t i = 0; i < table.count; ++i) {
        const Native::NativeEntry& entry = table.entries[i];
        if (!IsExpected(entry.library)) {
            continue;
        }
        ++expected;
        if (find(entry.library, entry.name) == nullptr) {
            missing += (missing.empty() ? "" : ", ") + std::string(entry.name);
        }
    }
    if (missing.empty()) {
        checks.push_back({Verdict::kFine, "native functions",
                          "all " + std::to_string(expected) + " are there", ""});
        return;
    }
    checks.push_back(
        {Verdict::kWrong, "native functions", "this system lacks " + missing,
         HasTwoKindsOfPorts() && !portLayer
             ? "the connector cannot speak here; with a simulated product, --port-layer"
             : "the connector cannot speak here"});
}

void CheckPlaceOfNames(Checks& checks) {
    const std::string place = PlaceOfNames();
    if (place.empty()) {
        return;
    }
    const std::string problem = PlaceProblem();
    if (IsPlaceMissing()) {
        checks.push_back(
            {Verdict::kDoubtful, "run directory", place + " is not there",
             "see whether KELCOMM_RUNTIME_DIR is that of host and product; the product "
             "makes the directory"});
    } else if (problem.empty()) {
        checks.push_back({Verdict::kFine, "run directory", place, ""});
    } else {
        checks.push_back({Verdict::kWrong, "run directory", problem,
                          "run as the user of host and product, or mend the directory"});
    }
}

void CheckRegistration(const Registration& registration, Checks& checks) {
    if (!registration.problem.empty()) {
        checks.push_back({Verdict::kWrong, "registration",
                          "the product is installed, but no number can be read from its value "
                          "\"build\" (" +
                              registration.problem +
                              "): the connector does not start, and no task is done",
                          "repair that value in " + PlaceOfBuild() +
                              ", then restart the host; what was given meanwhile has to be given "
                              "again"});
        return;
    }
    if (!registration.build) {
        checks.push_back({Verdict::kWrong, "registration", "no product is installed",
                          "install the product, then restart the host: it is deactivated until "
                          "then"});
        return;
    }
    const std::int64_t build = *registration.build;
    const bool isOld = build < kFirstBuildWithTelemetry;
    checks.push_back({Verdict::kFine, "registration", "build " + std::to_string(build), ""});
    checks.push_back({isOld ? Verdict::kDoubtful : Verdict::kFine, "build switches on",
                      SwitchedOn(build),
                      isOld ? "upgrade the product, to build " +
                                  std::to_string(kFirstBuildWithTelemetry) + " at least"
                            : ""});
}

}  // namespace Kyr::Probe
