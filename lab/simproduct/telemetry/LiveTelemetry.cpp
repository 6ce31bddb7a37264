#include "lab/simproduct/telemetry/LiveTelemetry.h"

#include <filesystem>

#include "lab/simproduct/records/EcsRecord.h"

namespace Kyr::Lab::SimProduct {

CLiveTelemetry::CLiveTelemetry(CRecordLists& lists, boost::shared_ptr<Base::IClock> clock,
                               LineSink sink)
    : lists_(lists), clock_(std::move(clock)), sink_(std::move(sink)) {}

void CLiveTelemetry::Note(const LabProcess& process) {
    if (!on_) {
        return;
    }
    const char* const type = process.running ? "start" : "end";
    const char* const action = process.running ? "process-started" : "process-ended";
    const std::string name = std::filesystem::path(process.program.path).filename().string();
    const std::uint64_t number = lists_.Append(RecordKind::kTelemetry, [&](std::uint64_t sequence) {
        const EcsEvent event{sequence, clock_->CalendarTime(), "event", "process", type, action};
        return ProductRecord{ProcessRecord(event, {process.pid, OwnProcessId(), name,
                                                   process.program.path, process.program.sha256}),
                             0};
    });
    sink_(CLine("observed")
              .With("action", action)
              .With("pid", process.pid)
              .With("name", name)
              .With("number", number));
}

}  // namespace Kyr::Lab::SimProduct
