#include "probe/explain/Patterns.h"

namespace Kyr::Probe {

namespace {

constexpr char kStart[] =
    "start the product, or look why it has ended; `ovprobe doctor` tells more";
constexpr char kRepairBus[] = "look into the host: its bus or its store has failed";
constexpr char kWrongReply[] =
    "the product's replies are not what the protocol says: `ovprobe "
    "conform` tells where";
constexpr char kProductLog[] = "look into the product's own log";
constexpr char kNoRights[] =
    "the product has refused: it wants the host to run with administrator's rights";
constexpr char kGetRights[] = "run the host with administrator's rights";

// The first that fits counts: what begins as another stands before it.
constexpr Pattern kPatterns[] = {
    {"Connecting to product", LineKind::kConnecting, Ending::kNone, nullptr, nullptr},
    {"Connected to product, processing tasks", LineKind::kConnected, Ending::kNone, nullptr,
     nullptr},
    {"Reconnecting to product", LineKind::kReconnecting, Ending::kNone, nullptr, nullptr},
    {"Disconnecting from product", LineKind::kDisconnecting, Ending::kNone, nullptr, nullptr},
    {"Connector was deactivated. No tasks will be processed and no logs will be produced.",
     LineKind::kDeactivated, Ending::kStart,
     "the product was not installed when the host started the connector",
     "install the product, then let the host create the module anew"},
    {"Task processing was interrupted", LineKind::kInterrupted, Ending::kNone, nullptr, nullptr},
    {"Product is not available, canceling tasks", LineKind::kNotAvailable, Ending::kConnection,
     "the product could not be reached until the host stopped the connector", kStart},
    {"Starting TULK OVANTA Connector connector module failed with: CKelcommChannel: Send request "
     "failed with kelcomm error ",
     LineKind::kConnectFailed, Ending::kConnection,
     "the connection breaks off while it is made, code %", kStart},
    {"Starting TULK OVANTA Connector connector module failed with: CKelcommChannel: Send request "
     "failed with 14,",
     LineKind::kConnectFailed, Ending::kConnection, kNoRights, kGetRights},
    {"Starting TULK OVANTA Connector connector module failed with: CKelcommChannel: Send request "
     "failed with ",
     LineKind::kConnectFailed, Ending::kSentAgain,
     "the product refuses the last policy, or the agent's identity, whenever the connector "
     "connects: a policy of a wrong version, for example; its status is %",
     "send a policy that this build takes"},
    {"Starting TULK OVANTA Connector connector module failed with: ", LineKind::kConnectFailed,
     Ending::kConnection, nullptr, nullptr},

    {"Sending kill process by pid request to product", LineKind::kSendingKill, Ending::kNone,
     nullptr, nullptr},
    {"Sending block executable by hash request to product", LineKind::kSendingBlock, Ending::kNone,
     nullptr, nullptr},
    {"XML request: ", LineKind::kRequest, Ending::kNone, nullptr, nullptr},
    {"Message task was canceled because maximum retry count was reached", LineKind::kCancelled,
     Ending::kAskedAgain, "it failed twice", nullptr},
    {"Message task was canceled because product is not available", LineKind::kCancelledNotAvailable,
     Ending::kAskedAgain, "the product could not be reached before the host stopped the connector",
     kStart},
    {"Task status received", LineKind::kOutcome, Ending::kNone, nullptr, nullptr},

    {"Protection status log raw content: ", LineKind::kStatusCame, Ending::kNone, nullptr, nullptr},
    {"Protection status log metadata received, size: ", LineKind::kDetail, Ending::kNone, nullptr,
     nullptr},
    {"Protection status log deserialized and published", LineKind::kStatusCame, Ending::kNone,
     nullptr, nullptr},
    {"Publishing ECS indicator logs", LineKind::kIndicatorsCame, Ending::kNone, nullptr, nullptr},
    {"Publishing ECS telemetry logs", LineKind::kTelemetryCame, Ending::kNone, nullptr, nullptr},
    {"Empty indicator logs response received from OVANTA Connector", LineKind::kIndicatorsCame,
     Ending::kNone, nullptr, nullptr},
    {"Empty telemetry logs response received from OVANTA Connector", LineKind::kTelemetryCame,
     Ending::kNone, nullptr, nullptr},
    {"Empty response received from OV Connector", LineKind::kActionsCame, Ending::kNone, nullptr,
     nullptr},
    {"No block actions received from OV Connector", LineKind::kReplyWrong, Ending::kActions,
     "a batch of remediation actions has no block action: the same ones come again",
     "the product must send a block action with them"},
    {"Failed to get ECS indicator logs from OVANTA Connector with code: ", LineKind::kReplyWrong,
     Ending::kIndicators, "the product gives no indicator records, result code %", kProductLog},
    {"Failed to get ECS telemetry logs from OVANTA Connector with code: ", LineKind::kReplyWrong,
     Ending::kTelemetry, "the product gives no telemetry records, result code %", kProductLog},
    {"Failed to get remediation data from OV Connector with code: ", LineKind::kReplyWrong,
     Ending::kActions, "the product gives no remediation actions, result code %", kProductLog},
    {"CWinOvGetEcsIndicatorLogsTask: payload ends early, ", LineKind::kReplyWrong, Ending::kNever,
     "a reply with indicators was cut: its last record has come in part", kProductLog},
    {"CWinOvGetEcsTelemetryLogsTask: payload ends early, ", LineKind::kReplyWrong, Ending::kNever,
     "a reply with telemetry was cut: its last record has come in part", kProductLog},
    {"CWinOvGetRemediationTask: payload ends early, ", LineKind::kReplyWrong, Ending::kNever,
     "a reply with remediation actions was cut: its last one has come in part", kProductLog},
    {"CWinOvGetEcsIndicatorLogsTask: too many records, ", LineKind::kReplyWrong,
     Ending::kIndicators, "a reply has too many indicators: the others come later", nullptr},
    {"CWinOvGetEcsTelemetryLogsTask: too many records, ", LineKind::kReplyWrong, Ending::kTelemetry,
     "a reply has too many telemetry records: the others come later", nullptr},
    {"CWinOvGetRemediationTask: too many records, ", LineKind::kReplyWrong, Ending::kActions,
     "a reply has too many remediation actions: the others come later", nullptr},
    {"OV Remediation: Failed to store with batch size: ", LineKind::kReplyWrong, Ending::kActions,
     "the host's store has refused a batch of remediation actions",
     "look into the host's database"},
    {"OV Remediation: Failed to store", LineKind::kFailure, Ending::kActions,
     "the host's store has refused a batch of remediation actions",
     "look into the host's database"},

    {"Set policy request to product was successfull", LineKind::kPolicyTaken, Ending::kNone,
     nullptr, nullptr},
    {"Policy is damaged: ", LineKind::kPolicyDamaged, Ending::kPolicy,
     "the policy that came from the server is damaged", "let the server send it again"},
    {"Policy is not sent: it is larger than ", LineKind::kPolicyWrong, Ending::kPolicy,
     "the policy is too large, and was not sent", "make the policy smaller"},
    {"Set policy failed: ", LineKind::kPolicyWrong, Ending::kPolicy,
     "the product has refused the policy",
     "look at the policy, and at what the product says of it"},

    {"CKelcommChannel: Send request failed with kelcomm error ", LineKind::kFailure,
     Ending::kConnection, "no exchange with the product, code %", kStart},
    {"CKelcommChannel: Send request failed with 14,", LineKind::kFailure, Ending::kAskedAgain,
     kNoRights, kGetRights},
    {"CKelcommChannel: Send request failed with ", LineKind::kFailure, Ending::kAskedAgain,
     "the product has refused with status %: it does not know the request, as one that is older "
     "than the task, or does not take it",
     "look whether the product's version knows this task"},
    {"CKelcommChannel: Reply buffer exeeded allowed size", LineKind::kFailure, Ending::kAskedAgain,
     "a reply of the product is larger than 256 MiB", kWrongReply},
    {"CKelcommChannel: Reply header has wrong size", LineKind::kFailure, Ending::kAskedAgain,
     "a reply of the product is of another protocol", kWrongReply},
    {"KelcommChannelBuffer: Buffer is not full enough", LineKind::kFailure, Ending::kAskedAgain,
     "a reply of the product is shorter than it says", kWrongReply},
    {"CKelcommChannel: KelcommClient creation failed", LineKind::kFailure, Ending::kStart,
     "a client for the product's ports could not be made", nullptr},
    {"Cannot start kelcomm channel: ", LineKind::kFailure, Ending::kConnection,
     "the product does not answer a ping: no port is there, or nobody serves it", kStart},
    {"The registered product build is no 32-bit number", LineKind::kFailure, Ending::kConnection,
     "the product is registered with a build that is no number", "install the product anew"},
    {"The registered product build cannot be read: status ", LineKind::kFailure,
     Ending::kConnection, "the product's registration cannot be read",
     "look at the rights of the registration"},
    {"Unknown protection status", LineKind::kFailure, Ending::kStatus,
     "the product tells a protection status that does not exist", kWrongReply},
    {"Task log: Log record has badly formated uuids in user data", LineKind::kFailure,
     Ending::kNever,
     "an outcome of the product does not name a task by three identifiers, and is lost",
     kWrongReply},
    {"invalid uuid string", LineKind::kFailure, Ending::kNever,
     "an identifier of a task, or the agent's instance, is no UUID",
     "look at what server and host give as identifiers"},
    {"bad lexical cast: source type value could not be interpreted as target", LineKind::kFailure,
     Ending::kNever, "the position that the host's database stores is no number",
     "repair the position in the host's database, which `ovprobe doctor --database` names; until "
     "then no records come"},
    {"Task processing failed with an unknown exception", LineKind::kFailure, Ending::kAskedAgain,
     "the host has thrown something that is no exception", kRepairBus},
    {"Message processing failed with an unknown exception", LineKind::kWatchProblem, Ending::kNever,
     "a reply of another module could not be handled", kRepairBus},
    {"Bad cast to ", LineKind::kWatchProblem, Ending::kNever,
     "the host gives something of another type than the connector needs",
     "load HostProbe in place of the connector: it tells what is wrong with the host"},
    {"There were ", LineKind::kDetail, Ending::kNone, nullptr, nullptr},

    {"Received broadcast ", LineKind::kAreaChanged, Ending::kNone, nullptr, nullptr},
    {"Publishing request ", LineKind::kPublishing, Ending::kNone, nullptr, nullptr},
    {"Regular resending of all requests", LineKind::kResending, Ending::kNone, nullptr, nullptr},
    {"Ping failed -> COvAgentConnector will be restarted: ", LineKind::kPingFailed,
     Ending::kConnection, "the product does not answer a ping: it has ended, or its port is gone",
     kStart},
    {"Error during checking for new broadcast messages: ", LineKind::kWatchProblem, Ending::kArea,
     "the product's broadcast area cannot be read: changes and outcomes are noticed within the "
     "hour only",
     "`ovprobe doctor` tells what is wrong with the area"},
    {"Error during checking for new ECS logs: ", LineKind::kWatchProblem, Ending::kRecords,
     "the policy's flags cannot be read from the host's database", "look into the host's database"},
    {"Error during checking for new ECS indicator logs: ", LineKind::kWatchProblem,
     Ending::kIndicators, "the host's bus refuses the request for indicators", kRepairBus},
    {"Error during checking for new ECS telemetry logs: ", LineKind::kWatchProblem,
     Ending::kTelemetry, "the host's bus refuses the request for telemetry", kRepairBus},
    {"Error during checking for new OV remediation actions: ", LineKind::kWatchProblem,
     Ending::kActions, "the host's bus refuses the request for remediation actions", kRepairBus},
    {"OV rule actions flag is not a bool, disabling rule actions propagation",
     LineKind::kWatchProblem, Ending::kActions,
     "the policy's flag for remediation actions is neither 0 nor 1: OV_REMEDIATION_ENABLED",
     "let the server send a right policy"},
    {"Watching the product failed with an unknown exception", LineKind::kWatchProblem,
     Ending::kAskedAgain, "the host has thrown something that is no exception", kRepairBus},
};

}  // namespace

const Pattern* FindPattern(std::string_view text) {
    for (const Pattern& pattern : kPatterns) {
        const std::string_view known = pattern.text;
        if (text.substr(0, known.size()) == known) {
            return &pattern;
        }
    }
    return nullptr;
}

}  // namespace Kyr::Probe
