// The commands `broadcast` and `area`: what the simulated product publishes, and how it lies in it.
//
// Threads: one at a time, always the same one (BroadcastArea.h).
// Errors: ConsoleCommand.h, and std::runtime_error from the area.
#pragma once

#include "lab/simagent/BroadcastArea.h"
#include "lab/simagent/console/ConsoleCommand.h"

namespace Kyr::Lab::SimAgent {

/// `area` must outlive the commands.
ConsoleCommandGroup AreaCommands(CBroadcastArea& area, const LineSink& sink);

}  // namespace Kyr::Lab::SimAgent
