#include "probe/doctor/PortChecks.h"

#include <iomanip>
#include <sstream>

#include "probe/session/PortPing.h"

namespace Kyr::Probe {

namespace {

// A ping has no work to do: one that takes longer than this meets a product that is busy.
constexpr std::chrono::milliseconds kSlow{1000};

std::string Server(const PingFinding& finding) {
    if (finding.serverProcess == 0) {
        return "";
    }
    return ", served by process " + std::to_string(finding.serverProcess) +
           (finding.program.empty() ? "" : " (" + finding.program + ")");
}

std::string Milliseconds(std::chrono::microseconds time) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << static_cast<double>(time.count()) / 1000 << " ms";
    return text.str();
}

const char* NextOf(Cause cause) {
    switch (cause) {
        case Cause::kNotRegistered:
            return "install the product";
        case Cause::kPortAbsent:
            return "start the product";
        case Cause::kOtherUser:
            return "run host and product as the same user; see who has taken the port";
        case Cause::kRefused:
            return "see the product's own log";
        case Cause::kNotAnswering:
            return "restart the product: the connector waits for it without end";
        case Cause::kNoPorts:
            return "nothing can be reached in this system";
    }
    return "";
}

Check Answering(Port port, const PingFinding& finding) {
    const bool isSlow = *finding.time > kSlow;
    return {isSlow ? Verdict::kDoubtful : Verdict::kFine, NameOf(port),
            "answers a ping in " + Milliseconds(*finding.time) + Server(finding),
            isSlow ? "the product is busy: see what it does" : ""};
}

Check Silent(Port port, const PingFinding& finding) {
    return {Verdict::kWrong, NameOf(port), finding.reason + Server(finding), NextOf(finding.cause)};
}

/// Somebody does, though not as it should be.
bool IsServed(const PingFinding& finding) {
    return finding.cause == Cause::kNotAnswering || finding.cause == Cause::kRefused;
}

}  // namespace

ProductPresence CheckPorts(const SessionOptions& options, Checks& checks) {
    const PingFinding advanced = PingPort(Port::kAdvanced, options);
    const PingFinding legacy = PingPort(Port::kLegacy, options);
    checks.push_back(advanced.time ? Answering(Port::kAdvanced, advanced)
                                   : Silent(Port::kAdvanced, advanced));
    if (!advanced.time && legacy.time && advanced.cause == Cause::kPortAbsent) {
        Check& check = checks.back();
        check.verdict = Verdict::kDoubtful;
        check.next = "the connector speaks to the legacy port, until the host is restarted";
    }
    checks.push_back(legacy.time ? Answering(Port::kLegacy, legacy)
                                 : Silent(Port::kLegacy, legacy));
    if (advanced.time && !legacy.time && legacy.cause == Cause::kPortAbsent) {
        checks.back().verdict = Verdict::kFine;
        checks.back().why += ", nor need anybody while the advanced port answers";
        checks.back().next.clear();
    }
    const bool answers = advanced.time || legacy.time;
    return {answers || IsServed(advanced) || IsServed(legacy), answers};
}

}  // namespace Kyr::Probe
