// `install` and `uninstall`: the product's registration changes while it runs.
//
// Threads: one at a time.
// Errors: ConsoleCommand.h, and std::runtime_error from the registration.
#pragma once

#include "lab/simproduct/state/Registration.h"
#include "lab/simproduct/typed/ConsoleCommand.h"

namespace Kyr::Lab::SimProduct {

/// `registration` must outlive the commands.
ConsoleCommandGroup RegistrationCommands(IRegistration& registration, LineSink sink);

}  // namespace Kyr::Lab::SimProduct
