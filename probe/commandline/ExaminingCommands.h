// The command lines of doctor, watch, record and conform: each asks the product many things.
//
// Threads: one; an interrupt ends watch.
#pragma once

#include "probe/commandline/Exchange.h"

namespace Kyr::Probe {

/// `deed` becomes that of the one that is chosen, and must outlive `app`.
void AddExaminingCommands(CLI::App& app, Deed& deed);

}  // namespace Kyr::Probe
