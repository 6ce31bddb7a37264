#include "lab/simproduct/SimulatedProduct.h"

#include <utility>

#include "lab/simproduct/commands/AgentUuidCommand.h"
#include "lab/simproduct/commands/RecordCommands.h"
#include "lab/simproduct/commands/StatusCommands.h"
#include "lab/simproduct/commands/TransferCommands.h"
#include "lab/simproduct/commands/XmlCommands.h"

namespace Kyr::Lab::SimProduct {

SimulatedProduct::SimulatedProduct(IProcessLauncher& launcher, CMisbehaviours& misbehaviours,
                                   const std::string& recordFile, CRequestDesk::Settings settings,
                                   const LineSink& sink)
    : records(recordFile.empty() ? CRecordLists() : CRecordLists(recordFile)),
      telemetry(records, Base::SystemClock(), sink),
      processes(launcher, sink),
      protection(configuration),
      tasks(processes, results, sink),
      commands({XmlCommands(tasks), AgentUuidCommands(sink),
                StatusCommands(protection, results, sink), TransferCommands(configuration, sink),
                RecordCommands(records, sink)}),
      desk(commands, misbehaviours, Base::SystemClock(), sink, std::move(settings)),
      alpc([this](const PortRequest& request) { return desk.Answer(request); }, sink),
      lpc([this](const PortRequest& request) { return desk.Answer(request); }, sink) {
    processes.Observe([this](const LabProcess& process) { telemetry.Note(process); });
}

SimulatedProduct::~SimulatedProduct() {
    desk.Stop();
}

}  // namespace Kyr::Lab::SimProduct
