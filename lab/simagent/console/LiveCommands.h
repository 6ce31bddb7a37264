// The command `live`: real telemetry on and off.
//
// Threads: one at a time.
// Ownership: the telemetry must outlive the rows.
#pragma once

#include "lab/simagent/console/ConsoleCommand.h"
#include "lab/simagent/telemetry/LiveTelemetry.h"

namespace Kyr::Lab::SimAgent {

ConsoleCommandGroup LiveCommands(CLiveTelemetry& telemetry, LineSink sink);

}  // namespace Kyr::Lab::SimAgent
