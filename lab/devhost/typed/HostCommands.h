// The commands of the host: one row each. A new command is a new row.
//
// Threads: one at a time. Errors: a command throws, and the console tells it.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "lab/common/Console.h"
#include "lab/devhost/database/Database.h"
#include "lab/devhost/resources/Bus.h"
#include "lab/devhost/resources/Failures.h"

namespace Kyr::Lab::DevHost {

/// Single calls of the module's life, by what the person types for them.
using LifeCalls = std::map<std::string, std::function<void()>>;

/// What the commands work on; all of it must outlive them.
struct CommandTargets {
    CBus& bus;
    CDatabase& database;
    LifeCalls lifeCalls;
    std::function<void(bool force)> stop;  // stops the module
    std::function<void()> quit;            // and ends the program
};

/// All but those of FailureCommands.
ConsoleCommandGroup MakeHostCommands(const CommandTargets& targets);

/// `miner`: what has come of what was sent, kind by kind.
ConsoleCommand MakeMinerCommand(CDatabase& database);

/// `fail` and `mend`: what the host fails at towards the module. The failures must outlive them.
ConsoleCommandGroup FailureCommands(CFailures& failures);

}  // namespace Kyr::Lab::DevHost
