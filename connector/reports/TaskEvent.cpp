#include "connector/reports/TaskEvent.h"

#include <boost/make_shared.hpp>

#include "host/logs/Symbols.h"

namespace Kyr::Connectors::Common {

namespace Symbol = Kyr::Common::Logs::Symbols::Task;
using Kyr::Common::Message::CTask;
using Kyr::Common::Message::Logs::CEventLog;

boost::shared_ptr<CTask> ReportableTask(
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
    const auto task = boost::dynamic_pointer_cast<CTask>(message);
    const bool reportable = task && task->GetFirstIdentifier().IsInitialized() &&
                            task->GetSecondIdentifier().IsInitialized() &&
                            task->GetThirdIdentifier().IsInitialized();
    return reportable ? task : nullptr;
}

boost::shared_ptr<CEventLog> MakeTaskEvent(const CTask& task, const TaskOutcome& outcome,
                                           const Reporter& reporter) {
    return MakeTaskEvent(TaskIdentifiers{task.GetFirstIdentifier(), task.GetSecondIdentifier(),
                                         task.GetThirdIdentifier()},
                         outcome, reporter);
}

boost::shared_ptr<CEventLog> MakeTaskEvent(const TaskIdentifiers& task, const TaskOutcome& outcome,
                                           const Reporter& reporter) {
    auto event =
        boost::make_shared<CEventLog>(Kyr::Common::Kernel::MessageType::TaskEvent, reporter.clock);
    // The third identifier stands before the second in the row; the host knows it so.
    event->GetSymbols()
        ->AddInt32(Symbol::kStatus, outcome.status)
        .AddUuidString(Symbol::kInstance, reporter.instanceUuid)
        .AddCurrentTime(Symbol::kTime)
        .AddUuidMessage(Symbol::kFirstIdentifier, task.first)
        .AddUuidMessage(Symbol::kThirdIdentifier, task.third)
        .AddUuidMessage(Symbol::kSecondIdentifier, task.second)
        .AddResourceId(Symbol::kOutcome, outcome.code)
        .AddResourceId(Symbol::kProduct, reporter.productId)
        .AddInt64(Symbol::kSeverity, outcome.severity);
    if (!outcome.text.empty()) {
        event->GetSymbols()->AddString(Symbol::kDescription, outcome.text);
    }
    event->SetReadOnly();
    return event;
}

}  // namespace Kyr::Connectors::Common
