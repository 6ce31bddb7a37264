// The commands `fail` and `mend`: what the host fails at towards the module.
//
// Threads: one at a time. Errors: std::invalid_argument for words that make no command.
#pragma once

#include "lab/common/Console.h"
#include "lab/devhost/resources/Failures.h"

namespace Kyr::Lab::DevHost {

/// The failures must outlive the commands.
ConsoleCommandGroup FailureCommands(CFailures& failures);

}  // namespace Kyr::Lab::DevHost
