// The inner commands that move the configuration: an export of it, and an import that replaces it.
// Both write a `did` event.
//
// Threads: any.
// Ownership: the configuration must outlive the rows.
#pragma once

#include "lab/common/LineWriter.h"
#include "lab/simproduct/commands/InnerCommands.h"
#include "lab/simproduct/state/Configuration.h"

namespace Kyr::Lab::SimProduct {

InnerCommandGroup TransferCommands(CConfiguration& configuration, LineSink sink);

}  // namespace Kyr::Lab::SimProduct
