// The command `miner`: what has come of what was sent, kind by kind.
//
// Threads: one at a time. Errors: std::invalid_argument for a number that is none,
// std::runtime_error when the database fails.
#pragma once

#include "lab/common/Console.h"
#include "lab/devhost/database/Database.h"

namespace Kyr::Lab::DevHost {

/// The database must outlive the command.
ConsoleCommand MakeMinerCommand(CDatabase& database);

}  // namespace Kyr::Lab::DevHost
