// `kill`, `block`: what the server's tasks have the product do, by hand. The request is made by the
// connector's own task.
//
// Threads: one. Errors: as the session's; CWrongUsage for what no request can be made of.
#pragma once

#include <cstdint>
#include <string>

#include "probe/session/Session.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

struct ActionOptions {
    std::uint64_t processId = 0;  // of a kill
    std::string sha1;             // empty: none
    std::string sha256;
    bool deleteExecutable = false;  // of a block
    /// Three identifiers with ";" between them; empty: fresh ones.
    std::string identifiers;
};

Report KillProcess(CSession& session, const ActionOptions& options);
Report BlockExecutable(CSession& session, const ActionOptions& options);

}  // namespace Kyr::Probe
