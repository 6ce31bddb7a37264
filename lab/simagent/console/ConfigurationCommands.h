// The line command `configuration`: shows the product's configuration, or replaces it as the
// product's own user would.
//
// Threads: one at a time. Ownership: the configuration must outlive the rows.
#pragma once

#include "lab/simagent/console/ConsoleCommand.h"
#include "lab/simagent/state/Configuration.h"

namespace Kyr::Lab::SimAgent {

ConsoleCommandGroup ConfigurationCommands(CConfiguration& configuration, LineSink sink);

}  // namespace Kyr::Lab::SimAgent
