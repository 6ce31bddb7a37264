// The inner command of XML requests and the functions that it can name: a kill and a block.
//
// Threads: any.
// Ownership: the product must outlive the rows.
// Errors: an unknown function is answered with its status.
#pragma once

#include "lab/simproduct/commands/InnerCommands.h"
#include "lab/simproduct/processes/TaskBook.h"

namespace Kyr::Lab::SimProduct {

InnerCommandGroup XmlCommands(CTaskBook& tasks);

}  // namespace Kyr::Lab::SimProduct
