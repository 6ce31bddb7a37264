// The commands of the host but for those of the module's life: one row each. A new command is a new
// row. What they work on must outlive them.
//
// Threads: one at a time. Errors: a command throws, and the console tells it.
#pragma once

#include "lab/common/Console.h"
#include "lab/devhost/database/Database.h"
#include "lab/devhost/resources/Bus.h"
#include "lab/devhost/resources/Failures.h"

namespace Kyr::Lab::DevHost {

/// What the server, the module itself or another module of the host would send; all of it is
/// read-only.
ConsoleCommandGroup MessageCommands(CBus& bus);

/// What the host holds.
ConsoleCommandGroup StoreCommands(const CBus& bus, CDatabase& database);

/// `miner`: what has come of what was sent, kind by kind.
ConsoleCommand MakeMinerCommand(CDatabase& database);

/// `fail` and `mend`: what the host fails at towards the module.
ConsoleCommandGroup FailureCommands(CFailures& failures);

}  // namespace Kyr::Lab::DevHost
