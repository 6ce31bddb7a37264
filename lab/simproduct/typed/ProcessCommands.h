// The line commands `start`, `adopt` and `tasklog`: what kill and block requests work on.
//
// Threads: one at a time. Ownership: the task book must outlive the rows.
#pragma once

#include "lab/common/Console.h"
#include "lab/simproduct/processes/TaskBook.h"

namespace Kyr::Lab::SimProduct {

/// `victim` is the program that is started when none is named.
ConsoleCommandGroup ProcessCommands(CTaskBook& tasks, const std::string& victim);

}  // namespace Kyr::Lab::SimProduct
