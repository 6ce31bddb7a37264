// The command `records`: makes records up, limits batches, counts.
//
// Threads: one at a time.
// Ownership: the lists must outlive the rows.
#pragma once

#include <boost/shared_ptr.hpp>

#include "base/Clock.h"
#include "lab/simagent/console/ConsoleCommand.h"
#include "lab/simagent/records/RecordLists.h"

namespace Kyr::Lab::SimAgent {

ConsoleCommandGroup RecordListCommands(CRecordLists& lists, boost::shared_ptr<Base::IClock> clock,
                                       LineSink sink);

}  // namespace Kyr::Lab::SimAgent
