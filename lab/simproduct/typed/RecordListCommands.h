// The command `records`: makes records up, limits batches, counts.
//
// Threads: one at a time.
// Ownership: the lists must outlive the rows.
#pragma once

#include <boost/shared_ptr.hpp>

#include "base/Clock.h"
#include "lab/simproduct/records/RecordLists.h"
#include "lab/simproduct/typed/ConsoleCommand.h"

namespace Kyr::Lab::SimProduct {

ConsoleCommandGroup RecordListCommands(CRecordLists& lists, boost::shared_ptr<Base::IClock> clock,
                                       LineSink sink);

}  // namespace Kyr::Lab::SimProduct
