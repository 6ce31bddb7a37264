// The inner commands by which records are fetched: a request says how many have been fetched so
// far, and the answer holds those behind them.
//
// Writes a `handed` event for every batch, before the reply goes out: `from`, the number of the
// first record, and `records`.
//
// Threads: any.
// Ownership: the lists must outlive the rows.
// Errors: CMalformed when the request's message cannot be read.
#pragma once

#include "lab/common/LineWriter.h"
#include "lab/simproduct/commands/InnerCommands.h"
#include "lab/simproduct/records/RecordLists.h"

namespace Kyr::Lab::SimProduct {

InnerCommandGroup RecordCommands(const CRecordLists& lists, LineSink sink);

/// A reply's message that says why there are no records; alike for all kinds.
Bytes EncodeResultCode(std::uint32_t code);

}  // namespace Kyr::Lab::SimProduct
