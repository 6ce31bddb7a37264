// The command lines of decode and explain, which need no product.
//
// Threads: one. Errors: the deed throws std::runtime_error for input that cannot be read.
#pragma once

#include "probe/commandline/Exchange.h"

namespace Kyr::Probe {

/// `deed` becomes that of the one that is chosen, and must outlive `app`.
void AddFileCommands(CLI::App& app, Deed& deed);

}  // namespace Kyr::Probe
