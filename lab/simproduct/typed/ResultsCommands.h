// The line command `results`: shows the outcomes that wait to be fetched, and adds such that no
// task of this lab has.
//
// Threads: one at a time. Ownership: the results must outlive the rows.
#pragma once

#include "lab/simproduct/state/TaskResults.h"
#include "lab/simproduct/typed/ConsoleCommand.h"

namespace Kyr::Lab::SimProduct {

ConsoleCommandGroup ResultsCommands(CTaskResults& results, LineSink sink);

}  // namespace Kyr::Lab::SimProduct
