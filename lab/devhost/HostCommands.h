// The commands of the host: one row each. A new command is a new row.
#pragma once

#include <functional>
#include <vector>

#include "lab/devhost/Bus.h"
#include "lab/devhost/Console.h"
#include "lab/devhost/Database.h"
#include "lab/devhost/LifeCycle.h"

namespace Kyr::Lab::DevHost {

/// What the commands work on; all of it must outlive them.
struct CCommandTargets {
    CBus& bus;
    CDatabase& database;
    CLifeCycle& lifeCycle;
    std::function<void(bool force)> quit;  // stops the module and ends the program
};

std::vector<CCommand> MakeHostCommands(const CCommandTargets& targets);

}  // namespace Kyr::Lab::DevHost
