// The line command `protection`: shows and changes what the product says about its protection.
//
// Threads: one at a time. Ownership: the protection must outlive the rows.
#pragma once

#include "lab/simagent/console/ConsoleCommand.h"
#include "lab/simagent/state/Protection.h"

namespace Kyr::Lab::SimAgent {

ConsoleCommandGroup ProtectionCommands(CProtection& protection, LineSink sink);

}  // namespace Kyr::Lab::SimAgent
