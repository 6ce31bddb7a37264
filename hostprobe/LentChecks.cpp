#include "hostprobe/LentChecks.h"

namespace Kyr::HostProbe {

namespace {

constexpr char kKey[] = "HOST_PROBE";

}  // namespace

void CheckLog(Common::Kernel::ILoggerResource& log, CReport& report) {
    int level = 1;
    try {
        for (; level <= 4; ++level) {
            log.Log("HostProbe: a line of level " + std::to_string(level) + ", of 1 to 4", level,
                    "HostProbe");
        }
        report.Tell(Verdict::kFine, "log-levels",
                    "one line of each level, 1 to 4, is in the host's log now: look for them");
    } catch (...) {
        report.Tell(Verdict::kWrong, "log-levels",
                    "the log throws an exception at level " + std::to_string(level));
    }
}

void CheckKeyValues(Common::Database::IKeyValueAccessMapper& mapper, CReport& report) {
    const std::string kValues[] = {"12345678901234567890",
                                   "gr\xC3\xBC\xC3\x9F"
                                   "e",
                                   ""};
    try {
        bool stored = true;
        bool same = true;
        for (const std::string& value : kValues) {
            stored = mapper.SetValue(kKey, value) && stored;
            same = mapper.GetValue(kKey) == value && same;
        }
        report.Judge(stored, "values-written", "the key-value store takes values",
                     "the key-value store says that it has not stored a value");
        report.Judge(same, "values-read", "values are read as they were written, the last one last",
                     "a value is read otherwise than it was written: records would come twice, or "
                     "never");
        report.Judge(mapper.GetValue("HOST_PROBE_NEVER_WRITTEN").empty(), "values-missing",
                     "a key that was never written has an empty value",
                     "a key that was never written has a value");
    } catch (...) {
        report.Tell(Verdict::kWrong, "values-read",
                    std::string("the key-value store throws an exception: ") + CaughtText());
    }
}

void CheckActions(Common::Database::IOvRemediationActionsMapper& mapper, CReport& report) {
    try {
        const bool stored = mapper.StoreActions({});
        report.Tell(stored ? Verdict::kFine : Verdict::kDoubtful, "actions-stored",
                    stored ? "the store of actions takes a batch, one without actions"
                           : "the store of actions refuses a batch without actions; if it refuses "
                             "others, too, the same actions come again and again");
    } catch (...) {
        report.Tell(Verdict::kWrong, "actions-stored",
                    std::string("the store of actions throws an exception: ") + CaughtText());
    }
}

}  // namespace Kyr::HostProbe
