#include "probe/explain/Patterns.h"

namespace Kyr::Probe {

namespace {

constexpr char kStart[] =
    "start the product, or look why it has ended; `ovprobe doctor` tells more";
constexpr char kRepairBus[] = "look into the host: its bus or its store has failed";
constexpr char kWrongReply[] =
    "the product's replies are not what the protocol says: `ovprobe "
    "conform` tells where";

// The first that fits counts: what begins as another stands before it.
constexpr Pattern kPatterns[] = {
    {"Connecting to product", LineKind::kConnecting, nullptr, nullptr},
    {"Connected to product, processing tasks", LineKind::kConnected, nullptr, nullptr},
    {"Reconnecting to product", LineKind::kReconnecting, nullptr, nullptr},
    {"Disconnecting from product", LineKind::kDisconnecting, nullptr, nullptr},
    {"Connector was deactivated. No tasks will be processed and no logs will be produced.",
     LineKind::kDeactivated, "the product was not installed when the host started the connector",
     "install the product, then let the host create the module anew"},
    {"Task processing was interrupted", LineKind::kInterrupted,
     "the host has stopped the connector by force", nullptr},
    {"Product is not available, canceling tasks", LineKind::kNotAvailable,
     "the host has stopped the connector before the product could be reached", kStart},
    {"Starting TULK OVANTA Connector connector module failed with: ", LineKind::kConnectFailed,
     nullptr, nullptr},

    {"Sending kill process by pid request to product", LineKind::kSendingKill, nullptr, nullptr},
    {"Sending block executable by hash request to product", LineKind::kSendingBlock, nullptr,
     nullptr},
    {"XML request: ", LineKind::kRequest, nullptr, nullptr},
    {"Message task was canceled because maximum retry count was reached", LineKind::kCancelled,
     "it failed twice", nullptr},
    {"Message task was canceled because product is not available", LineKind::kCancelledNotAvailable,
     "the product could not be reached before the host stopped the connector", kStart},

    {"Task status received", LineKind::kOutcome, nullptr, nullptr},
    {"Set policy request to product was successfull", LineKind::kWorked, nullptr, nullptr},
    {"Publishing ECS indicator logs", LineKind::kWorked, nullptr, nullptr},
    {"Publishing ECS telemetry logs", LineKind::kWorked, nullptr, nullptr},
    {"Protection status log raw content: ", LineKind::kWorked, nullptr, nullptr},
    {"Protection status log metadata received, size: ", LineKind::kDetail, nullptr, nullptr},
    {"Protection status log deserialized and published", LineKind::kWorked, nullptr, nullptr},
    {"Empty indicator logs response received from OVANTA Connector", LineKind::kWorked, nullptr,
     nullptr},
    {"Empty telemetry logs response received from OVANTA Connector", LineKind::kWorked, nullptr,
     nullptr},
    {"Empty response received from OV Connector", LineKind::kWorked, nullptr, nullptr},
    {"No block actions received from OV Connector", LineKind::kProblem,
     "a batch of remediation actions has no block action: the same ones come again",
     "the product must send a block action with them"},
    {"Failed to get ECS indicator logs from OVANTA Connector with code: ", LineKind::kProblem,
     "the product gives no indicator records, result code %", nullptr},
    {"Failed to get ECS telemetry logs from OVANTA Connector with code: ", LineKind::kProblem,
     "the product gives no telemetry records, result code %", nullptr},
    {"Failed to get remediation data from OV Connector with code: ", LineKind::kProblem,
     "the product gives no remediation actions, result code %", nullptr},
    {"OV Remediation: Failed to store with batch size: ", LineKind::kProblem,
     "the host's store has refused a batch of remediation actions",
     "look into the host's database"},
    {"OV Remediation: Failed to store", LineKind::kFailure,
     "the host's store has refused a batch of remediation actions",
     "look into the host's database"},
    {"Policy is damaged: ", LineKind::kProblem, "the policy that came from the server is damaged",
     "let the server send it again"},
    {"Policy is not sent: it is larger than ", LineKind::kProblem,
     "the policy is too large, and was not sent", "make the policy smaller"},
    {"Set policy failed: ", LineKind::kProblem, "the product has refused the policy",
     "look at the policy, and at what the product says of it"},

    {"CKelcommChannel: Send request failed with kelcomm error ", LineKind::kFailure,
     "no exchange with the product, code %", kStart},
    {"CKelcommChannel: Send request failed with 14,", LineKind::kFailure,
     "the product has refused: it wants the host to run with administrator's rights",
     "run the host with administrator's rights"},
    {"CKelcommChannel: Send request failed with ", LineKind::kFailure,
     "the product has refused with status %: it does not know the request, as one that is older "
     "than the task, or does not take it",
     "look whether the product's version knows this task"},
    {"CKelcommChannel: Reply buffer exeeded allowed size", LineKind::kFailure,
     "a reply of the product is larger than 256 MiB", kWrongReply},
    {"CKelcommChannel: Reply header has wrong size", LineKind::kFailure,
     "a reply of the product is of another protocol", kWrongReply},
    {"KelcommChannelBuffer: Buffer is not full enough", LineKind::kFailure,
     "a reply of the product is shorter than it says", kWrongReply},
    {"CKelcommChannel: KelcommClient creation failed", LineKind::kFailure,
     "a client for the product's ports could not be made", nullptr},
    {"Cannot start kelcomm channel: ", LineKind::kFailure,
     "the product does not answer a ping: no port is there, or nobody serves it", kStart},
    {"The registered product build is no 32-bit number", LineKind::kFailure,
     "the product is registered with a build that is no number", "install the product anew"},
    {"The registered product build cannot be read: status ", LineKind::kFailure,
     "the product's registration cannot be read", "look at the rights of the registration"},
    {"Unknown protection status", LineKind::kFailure,
     "the product tells a protection status that does not exist", kWrongReply},
    {"Task log: Log record has badly formated uuids in user data", LineKind::kFailure,
     "an outcome of the product does not name a task by three identifiers", kWrongReply},
    {"invalid uuid string", LineKind::kFailure,
     "an identifier of a task, or the agent's instance, is no UUID",
     "look at what server and host give as identifiers"},
    {"bad lexical cast: source type value could not be interpreted as target", LineKind::kFailure,
     "the position that the host's database stores is no number",
     "repair the position in the host's database; until then no records come"},
    {"Task processing failed with an unknown exception", LineKind::kFailure,
     "the host has thrown something that is no exception", kRepairBus},
    {"Message processing failed with an unknown exception", LineKind::kWatchProblem,
     "a reply of another module could not be handled", kRepairBus},
    {"Bad cast to ", LineKind::kWatchProblem,
     "the host gives something of another type than the connector needs",
     "load HostProbe in place of the connector: it tells what is wrong with the host"},
    {"There were ", LineKind::kDetail, nullptr, nullptr},

    {"Received broadcast ", LineKind::kWatched, nullptr, nullptr},
    {"Publishing request ", LineKind::kWatched, nullptr, nullptr},
    {"Regular resending of all requests", LineKind::kWatched, nullptr, nullptr},
    {"Ping failed -> COvAgentConnector will be restarted: ", LineKind::kPingFailed,
     "the product does not answer a ping: it has ended, or its port is gone", kStart},
    {"Error during checking for new broadcast messages: ", LineKind::kWatchProblem,
     "the product's broadcast area cannot be read: changes and outcomes are noticed within the "
     "hour only",
     "`ovprobe doctor` tells what is wrong with the area"},
    {"Error during checking for new ECS logs: ", LineKind::kWatchProblem,
     "the policy's flags cannot be read from the host's database", "look into the host's database"},
    {"Error during checking for new ECS indicator logs: ", LineKind::kWatchProblem,
     "the host's bus refuses the request for indicators", kRepairBus},
    {"Error during checking for new ECS telemetry logs: ", LineKind::kWatchProblem,
     "the host's bus refuses the request for telemetry", kRepairBus},
    {"Error during checking for new OV remediation actions: ", LineKind::kWatchProblem,
     "the host's bus refuses the request for remediation actions", kRepairBus},
    {"OV rule actions flag is not a bool, disabling rule actions propagation",
     LineKind::kWatchProblem, "the policy's flag for remediation actions is neither 0 nor 1",
     "let the server send a right policy"},
    {"Watching the product failed with an unknown exception", LineKind::kWatchProblem,
     "the host has thrown something that is no exception", kRepairBus},
};

/// What a client's code means.
const char* ClientCode(std::string_view code) {
    if (code == "1") {
        return "the port is gone, or the product has ended in the middle";
    }
    if (code == "3") {
        return "this system has no such ports";
    }
    if (code == "4") {
        return "the port cannot be connected: nobody serves it, or somebody else does";
    }
    if (code == "9") {
        return "it took longer than the port allows";
    }
    return nullptr;
}

std::string_view LeadingNumber(std::string_view text) {
    std::size_t end = 0;
    while (end < text.size() && end < 20 && text[end] >= '0' && text[end] <= '9') {
        ++end;
    }
    return text.substr(0, end);
}

std::string WithNumber(std::string cause, std::string_view rest) {
    const std::size_t mark = cause.find('%');
    if (mark != std::string::npos) {
        const std::string_view number = LeadingNumber(rest);
        cause.replace(mark, 1, number.empty() ? "that is no number" : std::string(number));
    }
    return cause;
}

bool IsClientError(const Pattern& pattern) {
    return std::string_view(pattern.text).find("kelcomm error") != std::string_view::npos;
}

const Pattern* Find(std::string_view text) {
    for (const Pattern& pattern : kPatterns) {
        const std::string_view known = pattern.text;
        if (text.substr(0, known.size()) == known) {
            return &pattern;
        }
    }
    return nullptr;
}

Recognised Read(const Pattern& pattern, std::string_view text) {
    Recognised found;
    found.kind = pattern.kind;
    found.rest = text.substr(std::string_view(pattern.text).size());
    found.cause = pattern.cause == nullptr ? "" : WithNumber(pattern.cause, found.rest);
    found.next = pattern.next == nullptr ? "" : pattern.next;
    const char* const meaning =
        IsClientError(pattern) ? ClientCode(LeadingNumber(found.rest)) : nullptr;
    if (meaning != nullptr) {
        found.cause += std::string(": ") + meaning;
    }
    return found;
}

}  // namespace

Recognised Recognise(std::string_view text) {
    const Pattern* const pattern = Find(text);
    if (pattern == nullptr) {
        return {};
    }
    Recognised found = Read(*pattern, text);
    if (found.kind == LineKind::kConnectFailed) {
        // Why stands behind it, in the words that it has by itself.
        const Pattern* const reason = Find(found.rest);
        const Recognised why = reason == nullptr ? Recognised() : Read(*reason, found.rest);
        found.cause = why.cause.empty() ? "connecting fails with a text that is not the connector's"
                                        : why.cause;
        found.next = why.next;
    }
    return found;
}

}  // namespace Kyr::Probe
