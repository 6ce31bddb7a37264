#include "lab/simproduct/SimulatedProduct.h"

#include <utility>

namespace Kyr::Lab::SimProduct {

SimulatedProduct::SimulatedProduct(IProcessLauncher& launcher, CMisbehaviours& misbehaviours,
                                   const std::string& recordFile, CRequestDesk::Settings settings,
                                   const LineSink& sink)
    : records(recordFile.empty() ? CRecordLists() : CRecordLists(recordFile)),
      telemetry(records, Base::SystemClock(), sink),
      processes(launcher, sink),
      protection(configuration),
      tasks(processes, results, sink),
      commands({tasks, results, configuration, protection, records}, sink),
      desk(commands, misbehaviours, Base::SystemClock(), sink, std::move(settings)),
      alpc(MakeAlpcServer([this](const PortRequest& one) { return desk.Answer(one); }, sink)),
      lpc(MakeLpcServer([this](const PortRequest& one) { return desk.Answer(one); }, sink)) {
    processes.Observe([this](const LabProcess& process) { telemetry.Note(process); });
}

SimulatedProduct::~SimulatedProduct() {
    desk.Stop();
}

}  // namespace Kyr::Lab::SimProduct
