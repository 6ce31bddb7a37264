// The commands `broadcast` and `area`: what the simulated product publishes, and how it lies in it.
//
// Threads: one at a time, always the same one (BroadcastArea.h).
// Errors: std::invalid_argument for words that make no command, std::runtime_error from the area.
#pragma once

#include "lab/common/Console.h"
#include "lab/simproduct/area/BroadcastArea.h"

namespace Kyr::Lab::SimProduct {

/// `area` must outlive the commands.
ConsoleCommandGroup AreaCommands(CBroadcastArea& area);

}  // namespace Kyr::Lab::SimProduct
