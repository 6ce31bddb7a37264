// The commands `broadcast` and `area`: what the simulated product publishes, and how it lies in it.
//
// Threads: one at a time, always the same one (BroadcastArea.h).
// Errors: ConsoleCommand.h, and std::runtime_error from the area.
#pragma once

#include "lab/simproduct/area/BroadcastArea.h"
#include "lab/simproduct/typed/ConsoleCommand.h"

namespace Kyr::Lab::SimProduct {

/// `area` must outlive the commands.
ConsoleCommandGroup AreaCommands(CBroadcastArea& area, const LineSink& sink);

}  // namespace Kyr::Lab::SimProduct
