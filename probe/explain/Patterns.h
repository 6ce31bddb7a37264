// The texts of the connector that a host's log may have: what each means for whoever asks why
// something is not done, and, of those that tell of a problem, what shows later that it is over.
// tests/tree holds them against the library's sources.
//
// Threads: any; constant. Errors: none.
#pragma once

#include <string_view>

namespace Kyr::Probe {

enum class LineKind {
    kUnknown,  // none of the connector's texts
    kDetail,   // tells nothing of tasks or connections

    // The task thread: its life
    kConnecting,
    kConnected,
    kReconnecting,
    kDisconnecting,
    kDeactivated,
    kInterrupted,
    kNotAvailable,
    kConnectFailed,

    // The task thread: tasks
    kSendingKill,
    kSendingBlock,
    kRequest,  // XML, with the task's identifiers
    kCancelled,
    kCancelledNotAvailable,
    kOutcome,

    // The task thread: what else it gets done with the product
    kStatusCame,
    kIndicatorsCame,
    kTelemetryCame,
    kActionsCame,
    kPolicyTaken,
    kPolicyDamaged,  // of what the server has sent; what can be read of it is sent on
    kPolicyWrong,
    kReplyWrong,  // the product has answered, and not with what was wanted
    kFailure,     // of the request in hand: it is tried again behind a new connection

    // The periodic thread, and others
    kAreaChanged,  // the number of the value stands behind it
    kPublishing,   // of a request that is not a task
    kResending,    // of all requests, once an hour
    kPingFailed,
    kWatchProblem,
};

/// What shows, later in the log, that a problem is over. A connection ends what stood in its way,
/// and nothing else: what was refused, lost or given up, or stored wrongly, stays so.
enum class Ending {
    kNone,        // the line tells of no problem
    kConnection,  // the product was reached again: until then it is an outage
    kStart,       // the connector was started anew, as "Connecting to product" says
    kAskedAgain,  // the same request got through; or all were asked for anew: behind a start that
                  // connects, or in the hour between two "Regular resending of all requests"
    kPolicy,      // a policy that came whole, and that the product has taken
    kSentAgain,   // the same; or a connection before the connector is started anew, since each of
                  // those sends the last policy and the agent's identity again
    kStatus,      // a protection status that can be read
    kIndicators,  // a reply with indicators, or that there are none
    kTelemetry,   // the same of telemetry
    kActions,     // the same of remediation actions
    kRecords,     // any of these three
    kArea,        // a value that was read from the area
    kNever,       // nothing that a log has: it must be mended by hand, or something is lost
};

struct Pattern {
    const char* text;  // the line is this, or begins with it
    LineKind kind;
    Ending ending;
    const char* cause;  // what is behind it, % is the number that follows; null: needs none
    const char* next;   // what to do; null: nothing
};

/// The first one that the text begins with, or null.
const Pattern* FindPattern(std::string_view text);

}  // namespace Kyr::Probe
