// The line command `protection`: shows and changes what the product says about its protection.
//
// Threads: one at a time. Ownership: the protection must outlive the rows.
#pragma once

#include "lab/simproduct/state/Protection.h"
#include "lab/simproduct/typed/ConsoleCommand.h"

namespace Kyr::Lab::SimProduct {

ConsoleCommandGroup ProtectionCommands(CProtection& protection, LineSink sink);

}  // namespace Kyr::Lab::SimProduct
