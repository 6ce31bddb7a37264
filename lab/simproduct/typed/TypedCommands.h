// The commands that a person or a scenario types, in groups; README.md lists them.
//
// Threads: one at a time, and always the same one: the area's mutex belongs to it.
// Ownership: what a group is given must outlive it.
// Errors: an exception of a command becomes an `error` event (Console.h).
#pragma once

#include <functional>
#include <string>

#include <boost/shared_ptr.hpp>

#include "base/Clock.h"
#include "lab/common/Console.h"
#include "lab/simproduct/area/BroadcastArea.h"
#include "lab/simproduct/desk/Misbehaviour.h"
#include "lab/simproduct/ports/PortServer.h"
#include "lab/simproduct/processes/TaskBook.h"
#include "lab/simproduct/state/Protection.h"
#include "lab/simproduct/telemetry/LiveTelemetry.h"

namespace Kyr::Lab::SimProduct {

/// `broadcast` and `area`: what is published, and how it lies in it.
ConsoleCommandGroup AreaCommands(CBroadcastArea& area);

/// `misbehave`: what is done wrong.
ConsoleCommandGroup FaultCommands(CMisbehaviours& misbehaviours, CPortServer& alpc,
                                  CPortServer& lpc);

/// Opens and closes the ports as the misbehaviours say.
/// Errors: std::runtime_error when a port cannot be made.
void OpenPorts(const CMisbehaviours& misbehaviours, CPortServer& alpc, CPortServer& lpc);

/// `start`, `adopt` and `tasklog`: what kill and block requests work on. `victim` is the program
/// that is started when none is named.
ConsoleCommandGroup ProcessCommands(CTaskBook& tasks, const std::string& victim);

/// `records` makes records up, limits batches and counts; `live` takes records from what happens on
/// this computer. Appending ends early, with an error, once `isAskedToEnd` says so.
ConsoleCommandGroup RecordListCommands(CRecordLists& lists, CLiveTelemetry& telemetry,
                                       boost::shared_ptr<Base::IClock> clock,
                                       std::function<bool()> isAskedToEnd);

/// `install`, `uninstall`, `protection`, `results` and `configuration`: what the product is and
/// knows.
ConsoleCommandGroup StateCommands(CProtection& protection, CTaskResults& results,
                                  const CConfiguration& configuration);

}  // namespace Kyr::Lab::SimProduct
