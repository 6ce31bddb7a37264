// The texts of the connector that a host's log may have, and what each means for whoever asks why
// something is not done. tests/tree holds them against the library's sources.
//
// Threads: any; constant.
#pragma once

#include <string>
#include <string_view>

namespace Kyr::Probe {

enum class LineKind {
    kUnknown,  // none of the connector's texts
    kDetail,   // tells nothing of tasks or connections
    // The task thread
    kConnecting,
    kConnected,
    kReconnecting,
    kDisconnecting,
    kDeactivated,
    kInterrupted,
    kNotAvailable,
    kConnectFailed,  // the reason stands behind it
    kSendingKill,
    kSendingBlock,
    kRequest,  // XML, with the task's identifiers
    kCancelled,
    kCancelledNotAvailable,
    kOutcome,
    kWorked,   // something else was got done with the product
    kProblem,  // costs something, and no connection
    kFailure,  // of what the task thread is about
    // The periodic thread, and others
    kWatched,
    kPingFailed,
    kWatchProblem,
};

struct Pattern {
    const char* text;  // the line is this, or begins with it
    LineKind kind;
    const char* cause;  // what is behind it; null: nothing that needs one
    const char* next;   // what to do; null: nothing
};

struct Recognised {
    LineKind kind = LineKind::kUnknown;
    std::string cause;  // safe to print: our own words, and numbers
    std::string next;
    std::string_view
        rest;  // what stands behind the pattern: of the host or the product, never safe
};

/// What the text of a line says. `rest` refers to `text`.
Recognised Recognise(std::string_view text);

}  // namespace Kyr::Probe
