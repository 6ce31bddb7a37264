// The line commands about what the product is and knows: `install`, `uninstall`, `protection`,
// `results` and `configuration`.
//
// Threads: one at a time. Ownership: all that is named must outlive the rows.
#pragma once

#include "lab/common/Console.h"
#include "lab/simproduct/state/Protection.h"
#include "lab/simproduct/state/Registration.h"
#include "lab/simproduct/state/TaskResults.h"

namespace Kyr::Lab::SimProduct {

ConsoleCommandGroup StateCommands(IRegistration& registration, CProtection& protection,
                                  CTaskResults& results, const CConfiguration& configuration);

}  // namespace Kyr::Lab::SimProduct
