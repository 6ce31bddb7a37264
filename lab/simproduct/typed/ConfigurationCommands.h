// The line command `configuration`: shows the product's configuration, or replaces it as the
// product's own user would.
//
// Threads: one at a time. Ownership: the configuration must outlive the rows.
#pragma once

#include "lab/simproduct/state/Configuration.h"
#include "lab/simproduct/typed/ConsoleCommand.h"

namespace Kyr::Lab::SimProduct {

ConsoleCommandGroup ConfigurationCommands(CConfiguration& configuration, LineSink sink);

}  // namespace Kyr::Lab::SimProduct
