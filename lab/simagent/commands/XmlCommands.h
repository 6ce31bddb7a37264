// The inner command of XML requests and the functions that it can name: a kill and a block.
//
// Threads: any.
// Ownership: the product must outlive the rows.
// Errors: an unknown function is answered with its status.
#pragma once

#include "lab/simagent/Product.h"
#include "lab/simagent/commands/InnerCommands.h"

namespace Kyr::Lab::SimAgent {

InnerCommandGroup XmlCommands(CProduct& product);

}  // namespace Kyr::Lab::SimAgent
