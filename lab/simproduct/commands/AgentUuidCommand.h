// The inner command by which the management agent says which instance of it has connected: two
// records of u32 tag, u32 length, value, of which the second is the UUID's text with its NUL.
//
// Writes a `did` event with the UUID. Records of other tags are passed over.
//
// Threads: any.
// Errors: CMalformed when a record does not fit or one is missing.
#pragma once

#include "lab/common/LineWriter.h"
#include "lab/simproduct/commands/InnerCommands.h"

namespace Kyr::Lab::SimProduct {

InnerCommandGroup AgentUuidCommands(LineSink sink);

}  // namespace Kyr::Lab::SimProduct
