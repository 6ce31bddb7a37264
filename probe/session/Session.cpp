#include "probe/session/Session.h"

#include <utility>

#include "base/Clock.h"
#include "kelcomm/KelcommChannelBuffer.h"
#include "kelcomm/KelcommErrorReplyException.h"
#include "kelcomm/client/IKelcommClient.h"
#include "probe/session/NotReached.h"
#include "probe/session/PortPing.h"

namespace Kyr::Probe {

namespace Kelcomm = Connectors::Common::Kelcomm;

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kSlice{50};
constexpr char kBothPorts[] = "its ports";

/// Of two ports that cannot be used, what the one says that says more.
PortTrace MoreTelling() {
    const PortTrace advanced = TraceOf(Port::kAdvanced);
    const PortTrace legacy = TraceOf(Port::kLegacy);
    const bool advancedIsAbsent =
        advanced.connect == NtApi::kStatusObjectNameNotFound && !advanced.wasConnected;
    return legacy.wasTried && (advancedIsAbsent || !advanced.HasFailed()) ? legacy : advanced;
}

}  // namespace

CSession::CSession(SessionOptions options) : options_(std::move(options)) {
    ForgetTraces();
    channel_ = std::make_shared<Channel>(0, 0, WitnessedNativeFunctions(options_.portLayer));
}

CSession::~CSession() = default;

void CSession::Within(const std::function<void(Channel&)>& work) {
    // Whoever comes behind one that was left behind would wait for the same channel: it is waited
    // for here, so that there is never more than one.
    const auto clock = Base::SystemClock();
    for (milliseconds waited{0}; *isRunning_ && waited < options_.timeLimit; waited += kSlice) {
        clock->SleepFor(kSlice);
    }
    const auto run = [channel = channel_, isRunning = isRunning_, work] {
        try {
            work(*channel);
        } catch (...) {
            *isRunning = false;
            throw;
        }
        *isRunning = false;
    };
    const bool isFree = !isRunning_->exchange(true);
    if (!isFree || !EndsWithin(options_.timeLimit, run, options_.progress)) {
        throw CNoReplyInTime(options_.timeLimit);
    }
}

bool CSession::Ping(std::string& why) {
    struct Answer {
        bool answers = false;
        std::string errors;
    };
    const auto answer = std::make_shared<Answer>();
    Within([answer](Channel& channel) { answer->answers = channel.Ping(answer->errors); });
    why = answer->errors;
    return answer->answers;
}

void CSession::Connect() {
    if (isConnected_) {
        return;
    }
    std::string errors;
    if (!Ping(errors)) {
        throw WhyNot(MoreTelling(), kBothPorts, Kelcomm::kKelcommFailure);
    }
    isConnected_ = true;
}

Bytes CSession::Exchange(const Bytes& request) {
    Connect();
    const auto reply = std::make_shared<Bytes>();
    try {
        Within([request, reply](Channel& channel) {
            Kelcomm::KelcommChannelBuffer sent;
            sent.Append(request.data(), request.size());
            Kelcomm::KelcommChannelBuffer received;
            channel.SendRequest(sent, received);
            *reply = received.TakeBytes();
        });
    } catch (const CNotReached&) {
        throw;
    } catch (const Kelcomm::CKelcommErrorReplyException&) {
        throw;
    } catch (const std::exception&) {
        const PortTrace trace = LatestTrace();
        if (trace.HasFailed()) {
            throw WhyNot(trace, kBothPorts, Kelcomm::kKelcommFailure);
        }
        throw;
    }
    return std::move(*reply);
}

std::int32_t CSession::Broadcast(std::int32_t index) {
    const auto value = std::make_shared<std::int32_t>(0);
    Connect();
    Within([value, index](Channel& channel) { *value = channel.GetBroadcast(index); });
    return *value;
}

}  // namespace Kyr::Probe
