// The command lines of kill, block, import and announce: what the connector has the product do, by
// hand.
//
// Threads: one.
#pragma once

#include "probe/commandline/Exchange.h"

namespace Kyr::Probe {

/// `deed` becomes that of the one that is chosen, and must outlive `app`.
void AddChangingCommands(CLI::App& app, Deed& deed);

}  // namespace Kyr::Probe
