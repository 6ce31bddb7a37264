#include "probe/doctor/DatabaseChecks.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>

#include "connector/tasks/RecordOffset.h"
#include "probe/doctor/KeyValues.h"

namespace Kyr::Probe {

namespace {

constexpr char kIndicatorsKey[] = "XDR_OFFSET";
constexpr char kTelemetryKey[] = "XDR_TELEMETRY_OFFSET";
constexpr char kActionsKey[] = "OV_REMEDIATION_OFFSET";
constexpr char kEnabled[] = "XDR_ENABLED";
constexpr char kServer[] = "XDR_HOST";
constexpr char kRemediation[] = "OV_REMEDIATION_ENABLED";

std::uint64_t CheckPosition(const IKeyValues& values, const char* key, const char* what,
                            Checks& checks) {
    const std::string name = std::string("position of ") + what;
    const std::string text = values.Find(key).value_or("");
    if (text.empty()) {
        checks.push_back({Verdict::kFine, name, "none is stored: they begin at 0", ""});
        return 0;
    }
    try {
        const std::uint64_t position = Connectors::OvAgentConnector::ParseOffset(text);
        checks.push_back({Verdict::kFine, name, std::to_string(position), ""});
        return position;
    } catch (const boost::bad_lexical_cast&) {
        checks.push_back(
            {Verdict::kWrong, name,
             "no number can be read from what is stored (" + std::to_string(text.size()) +
                 " bytes)",
             std::string("repair the key ") + key + ": every collection of them fails until then"});
        return 0;
    }
}

/// As the connector takes it: exactly "1", and a server besides.
void CheckCollection(const IKeyValues& values, Checks& checks) {
    const std::string enabled = values.Find(kEnabled).value_or("");
    const bool hasServer = !values.Find(kServer).value_or("").empty();
    Check check{Verdict::kFine, "collection of records", "", ""};
    if (enabled.empty() || enabled == "0") {
        check.why = "switched off: the key XDR_ENABLED is not 1; tasks do not need it";
    } else if (enabled != "1") {
        check.verdict = Verdict::kWrong;
        check.why = "off, since XDR_ENABLED is neither 0 nor 1";
        check.next = "have the host write 1: other words for yes are not known";
    } else if (!hasServer) {
        check.verdict = Verdict::kWrong;
        check.why = "off, since XDR_HOST is empty";
        check.next = "see why the policy brought no server";
    } else {
        check.why = "switched on, with a server";
    }
    checks.push_back(check);
}

/// Whether they are switched on, as the connector takes it.
bool CheckRemediation(const IKeyValues& values, Checks& checks) {
    const std::string text = values.Find(kRemediation).value_or("");
    bool enabled = false;
    if (text.empty()) {
        checks.push_back(
            {Verdict::kFine, "remediation actions",
             "not collected: the key OV_REMEDIATION_ENABLED is not set; tasks do not need it", ""});
    } else if (!boost::conversion::try_lexical_convert(text, enabled)) {
        checks.push_back({Verdict::kWrong, "remediation actions",
                          "off, since OV_REMEDIATION_ENABLED is neither 0 nor 1",
                          "have the host write 1: other words for yes are not known"});
    } else {
        checks.push_back(
            {Verdict::kFine, "remediation actions", enabled ? "switched on" : "switched off", ""});
    }
    return enabled;
}

bool HasAnyKey(const IKeyValues& values) {
    constexpr const char* kAll[] = {kIndicatorsKey, kTelemetryKey, kActionsKey,
                                    kEnabled,       kServer,       kRemediation};
    return std::any_of(std::begin(kAll), std::end(kAll),
                       [&](const char* key) { return values.Find(key).has_value(); });
}

}  // namespace

StoredValues CheckDatabase(const std::string& path, Checks& checks) {
    StoredValues stored;
    try {
        const auto values = OpenKeyValues(path);
        if (!values->IsSurelyAHosts() && !HasAnyKey(*values)) {
            throw std::runtime_error("a text of keys, and none of them is the connector's");
        }
        checks.push_back({Verdict::kFine, "host's database", "can be read", ""});
        stored.indicators = CheckPosition(*values, kIndicatorsKey, "indicators", checks);
        stored.telemetry = CheckPosition(*values, kTelemetryKey, "telemetry", checks);
        stored.actions = CheckPosition(*values, kActionsKey, "actions", checks);
        CheckCollection(*values, checks);
        stored.actionsEnabled = CheckRemediation(*values, checks);
    } catch (const std::exception& problem) {
        checks.push_back({Verdict::kWrong, "host's database",
                          std::string("cannot be read: ") + problem.what(), kFormsOfKeyValues});
    }
    return stored;
}

}  // namespace Kyr::Probe
