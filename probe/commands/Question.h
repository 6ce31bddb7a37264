// A request that changes nothing at the product, and how its reply is told.
//
// Threads: one. Errors: as the session's; what is wrong with a reply stands in the report.
#pragma once

#include <functional>
#include <string>

#include "probe/session/Session.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

struct Question {
    std::string command;  // as ovprobe names it
    Bytes request;
    /// Adds what the reply tells. Throws std::exception when it is malformed.
    std::function<void(const Bytes& reply, Report& report)> tell;
};

/// `raw`: the reply is only kept as it is.
Report Ask(CSession& session, const Question& question, bool raw);

}  // namespace Kyr::Probe
