// The commands that speak to the product, on a command line.
//
// Threads: one. Errors: exit codes; everything has been said then.
#pragma once

#include <functional>

#include "lab/common/CommandLine.h"

namespace Kyr::Probe {

/// Adds the commands; the one that is on the command line puts what is to be done into `deed`,
/// which must live as long as `app` and gives the exit code.
void AddProductCommands(CLI::App& app, std::function<int()>& deed);

}  // namespace Kyr::Probe
