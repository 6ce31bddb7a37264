// The simulated product as a whole: what it knows, what it can be asked for, and the ports and the
// area through which it is. Whoever owns one reaches its parts; nothing is served before an area or
// a port is opened.
//
// Threads: made and destroyed by one; each part says which threads may call it.
// Ownership: launcher and misbehaviours must outlive this.
// Errors: std::runtime_error from the constructor when the records cannot be read.
#pragma once

#include <string>

#include "lab/simproduct/area/BroadcastArea.h"
#include "lab/simproduct/commands/InnerCommands.h"
#include "lab/simproduct/desk/RequestDesk.h"
#include "lab/simproduct/ports/PortServer.h"
#include "lab/simproduct/processes/TaskBook.h"
#include "lab/simproduct/records/RecordLists.h"
#include "lab/simproduct/state/Protection.h"
#include "lab/simproduct/telemetry/LiveTelemetry.h"

namespace Kyr::Lab::SimProduct {

struct SimulatedProduct {
    /// recordFile: empty for records that end with the process.
    SimulatedProduct(IProcessLauncher& launcher, CMisbehaviours& misbehaviours,
                     const std::string& recordFile, CRequestDesk::Settings settings,
                     const LineSink& sink);
    /// Ends every delay, closes ports and area.
    ~SimulatedProduct();
    SimulatedProduct(const SimulatedProduct&) = delete;
    SimulatedProduct& operator=(const SimulatedProduct&) = delete;

    CRecordLists records;
    CLiveTelemetry telemetry;
    CLabProcesses processes;
    CTaskResults results;
    CConfiguration configuration;
    CProtection protection;
    CTaskBook tasks;
    const CInnerCommands commands;
    CRequestDesk desk;
    const std::unique_ptr<CPortServer> alpc;
    const std::unique_ptr<CPortServer> lpc;
    CBroadcastArea area;
};

}  // namespace Kyr::Lab::SimProduct
