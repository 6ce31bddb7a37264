#include "probe/session/PortPing.h"

#include <memory>
#include <sstream>

#include "kelcomm/client/IKelcommClient.h"
#include "probe/ProductNumbers.h"
#include "probe/session/PortClient.h"
#include "probe/session/Registration.h"
#include "probe/session/System.h"

namespace Kyr::Probe {

namespace Kelcomm = Connectors::Common::Kelcomm;

namespace {

using Clock = std::chrono::steady_clock;

struct Ping {
    std::shared_ptr<Kelcomm::IKelcommClient> client;
    std::uint32_t code = 0;
    std::chrono::microseconds time{0};

    void Run() {
        const auto begin = Clock::now();
        code = client->Request(0, kPingCommand, nullptr, 0, nullptr, 0, nullptr, 0);
        time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
        client.reset();
    }
};

std::string Hexadecimal(NtApi::NtStatus status) {
    std::ostringstream text;
    text << std::hex << std::uppercase << static_cast<std::uint32_t>(status);
    return text.str();
}

CNotReached WhyNotConnected(NtApi::NtStatus status, const std::string& what) {
    switch (status) {
        case NtApi::kStatusObjectNameNotFound:
        case NtApi::kStatusObjectPathNotFound: {
            if (!ReadRegistration().IsThere()) {
                return {Cause::kNotRegistered,
                        "no product is installed on this computer, and nobody serves " + what};
            }
            const std::string place = PlaceOfNames();
            return {Cause::kPortAbsent,
                    "nobody serves " + what + (place.empty() ? "" : " in " + place)};
        }
        case NtApi::kStatusAccessDenied:
            return {Cause::kOtherUser, what + " is not for this user, or served by another one"};
        case NtApi::kStatusPortConnectionRefused:
            return {Cause::kRefused, what + " refuses the connection"};
        case NtApi::kStatusUnsuccessful:
        case NtApi::kStatusNotImplemented:
            return {Cause::kNoPorts, "its functions for " + what + " are missing"};
        default:
            return {Cause::kRefused, what + " cannot be connected: status " + Hexadecimal(status)};
    }
}

}  // namespace

CNotReached WhyNot(const PortTrace& trace, const std::string& what, std::uint32_t code) {
    if (const std::string problem = PlaceProblem(); !problem.empty()) {
        return {Cause::kOtherUser, problem};
    }
    if (NtApi::IsError(trace.connect)) {
        if (trace.wasConnected) {
            return {Cause::kPortAbsent, "the product went away while it was asked"};
        }
        return WhyNotConnected(trace.connect, what);
    }
    if (NtApi::IsError(trace.exchange)) {
        return {Cause::kNotAnswering,
                "the connection ends without a reply: status " + Hexadecimal(trace.exchange)};
    }
    return {Cause::kRefused, what + " answers with code " + std::to_string(code)};
}

PingFinding PingPort(Port port, const SessionOptions& options) {
    PingFinding finding;
    ForgetTraces();
    const auto ping = std::make_shared<Ping>();
    ping->client = MakePortClient(port, WitnessedNativeFunctions(options.portLayer));
    if (ping->client == nullptr) {
        finding.reason = "its client cannot be made";
        return finding;
    }
    if (!EndsWithin(
            options.timeLimit, [ping] { ping->Run(); }, options.progress)) {
        finding.reason =
            "no answer to a ping within " + std::to_string(options.timeLimit.count()) + " ms";
        return finding;
    }
    const PortTrace trace = TraceOf(port);
    finding.serverProcess = trace.serverProcess;
    if (trace.serverProcess != 0) {
        finding.program = ProgramOf(trace.serverProcess);
    }
    if (ping->code == Kelcomm::kKelcommSuccess) {
        finding.time = ping->time;
        return finding;
    }
    const CNotReached why = WhyNot(trace, std::string("its ") + NameOf(port), ping->code);
    finding.cause = why.GetCause();
    finding.reason = why.GetReason();
    return finding;
}

}  // namespace Kyr::Probe
