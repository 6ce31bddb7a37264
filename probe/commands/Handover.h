// `import`, `announce`: what the connector hands the product, by hand.
//
// Threads: one. Errors: as the session's; CWrongUsage for what cannot be handed.
#pragma once

#include <string>

#include "probe/session/Session.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

/// `bytes`: the configuration; `isBlob`: the blob of a policy message, which has it inside.
Report ImportConfiguration(CSession& session, const std::string& bytes, bool isBlob);

/// Tells the product which instance of the agent speaks to it.
Report AnnounceInstance(CSession& session, const std::string& uuid);

}  // namespace Kyr::Probe
