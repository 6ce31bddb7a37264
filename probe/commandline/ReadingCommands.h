// The command lines of ping, status, policy, indicators, telemetry, actions and outcomes: each
// gives the product's answer to one question.
//
// Threads: one.
#pragma once

#include "probe/commandline/Exchange.h"

namespace Kyr::Probe {

/// `deed` becomes that of the one that is chosen, and must outlive `app`.
void AddReadingCommands(CLI::App& app, Deed& deed);

}  // namespace Kyr::Probe
