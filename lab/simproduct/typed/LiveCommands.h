// The command `live`: real telemetry on and off.
//
// Threads: one at a time.
// Ownership: the telemetry must outlive the rows.
#pragma once

#include "lab/simproduct/telemetry/LiveTelemetry.h"
#include "lab/simproduct/typed/ConsoleCommand.h"

namespace Kyr::Lab::SimProduct {

ConsoleCommandGroup LiveCommands(CLiveTelemetry& telemetry, LineSink sink);

}  // namespace Kyr::Lab::SimProduct
