// The command `miner`: what has come of what was sent, kind by kind.
#pragma once

#include "lab/devhost/commands/Console.h"
#include "lab/devhost/database/Database.h"

namespace Kyr::Lab::DevHost {

/// The database must outlive the command.
CCommand MakeMinerCommand(CDatabase& database);

}  // namespace Kyr::Lab::DevHost
