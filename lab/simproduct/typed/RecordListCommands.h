// The line commands about what is fetched: `records` makes records up, limits batches and counts,
// `live` takes them from what happens on this computer.
//
// Threads: one at a time.
// Ownership: lists and telemetry must outlive the rows.
#pragma once

#include <functional>

#include <boost/shared_ptr.hpp>

#include "base/Clock.h"
#include "lab/common/Console.h"
#include "lab/simproduct/telemetry/LiveTelemetry.h"

namespace Kyr::Lab::SimProduct {

/// Appending ends early, with an error, once `isAskedToEnd` says so.
ConsoleCommandGroup RecordListCommands(CRecordLists& lists, CLiveTelemetry& telemetry,
                                       boost::shared_ptr<Base::IClock> clock,
                                       std::function<bool()> isAskedToEnd);

}  // namespace Kyr::Lab::SimProduct
