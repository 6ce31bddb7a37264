// The commands `fail` and `mend`: what the host fails at towards the module.
//
// Threads: one at a time. Errors: std::invalid_argument for words that make no command.
#pragma once

#include "lab/common/Console.h"
#include "lab/devhost/resources/Faults.h"

namespace Kyr::Lab::DevHost {

/// The faults must outlive the commands.
ConsoleCommandGroup FaultCommands(CFaults& faults);

}  // namespace Kyr::Lab::DevHost
