// The inner commands that ask how the product is doing: its protection as XML, and the outcome of
// one finished task, which is handed out with a `did` event.
//
// Threads: any.
// Ownership: protection and results must outlive the rows.
#pragma once

#include "lab/common/LineWriter.h"
#include "lab/simproduct/commands/InnerCommands.h"
#include "lab/simproduct/state/Protection.h"
#include "lab/simproduct/state/TaskResults.h"

namespace Kyr::Lab::SimProduct {

InnerCommandGroup StatusCommands(const CProtection& protection, CTaskResults& results,
                                 LineSink sink);

/// u32 0, u32 outcome, u32 offset of the user data, then the user data in UTF-16 with a final 0.
/// The offset is written as it is told; the user data always follows it.
Bytes EncodeTaskResult(const TaskResult& result);

}  // namespace Kyr::Lab::SimProduct
