// The line command `results`: shows the outcomes that wait to be fetched, and adds such that no
// task of this lab has.
//
// Threads: one at a time. Ownership: the results must outlive the rows.
#pragma once

#include "lab/simagent/console/ConsoleCommand.h"
#include "lab/simagent/state/TaskResults.h"

namespace Kyr::Lab::SimAgent {

ConsoleCommandGroup ResultsCommands(CTaskResults& results, LineSink sink);

}  // namespace Kyr::Lab::SimAgent
