// The line command `misbehave`: what the product does wrong.
//
// Threads: one at a time. Ownership: all that is named must outlive the rows.
#pragma once

#include "lab/common/Console.h"
#include "lab/simproduct/desk/Misbehaviour.h"
#include "lab/simproduct/ports/Port.h"

namespace Kyr::Lab::SimProduct {

ConsoleCommandGroup FaultCommands(CMisbehaviours& misbehaviours, IPort& alpc, IPort& lpc);

/// Opens and closes the ports as the misbehaviours say.
/// Errors: std::runtime_error when a port cannot be made.
void OpenPorts(const CMisbehaviours& misbehaviours, IPort& alpc, IPort& lpc);

}  // namespace Kyr::Lab::SimProduct
