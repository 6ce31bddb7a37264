#include "connector/TaskEvent.h"

#include <boost/make_shared.hpp>

namespace Kyr::Connectors::Common {

using Kyr::Common::Message::CTask;
using Kyr::Common::Message::Logs::CEventLog;

namespace {

// The host's numbers for the symbols of the event.
enum Symbol : std::int32_t {
    kInstance = 2834,
    kStatus = 2836,
    kTime = 2838,
    kFirstIdentifier = 2842,
    kSecondIdentifier = 2844,
    kThirdIdentifier = 2846,
    kCode = 2848,
    kSeverity = 2850,
    kProduct = 2853,
    kText = 2913,
};

}  // namespace

boost::shared_ptr<CTask> ReportableTask(
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
    const auto task = boost::dynamic_pointer_cast<CTask>(message);
    const bool reportable = task && task->GetFirstIdentifier().IsInitialized() &&
                            task->GetSecondIdentifier().IsInitialized() &&
                            task->GetThirdIdentifier().IsInitialized();
    return reportable ? task : nullptr;
}

boost::shared_ptr<CEventLog> MakeTaskEvent(const CTask& task, const TaskOutcome& outcome,
                                           const TaskReporter& reporter) {
    return MakeTaskEvent(TaskIdentifiers{task.GetFirstIdentifier(), task.GetSecondIdentifier(),
                                         task.GetThirdIdentifier()},
                         outcome, reporter);
}

boost::shared_ptr<CEventLog> MakeTaskEvent(const TaskIdentifiers& task, const TaskOutcome& outcome,
                                           const TaskReporter& reporter) {
    auto event =
        boost::make_shared<CEventLog>(Kyr::Common::Kernel::MessageType::TaskEvent, reporter.clock);
    // The third identifier stands before the second in the row; the host knows it so.
    event->GetSymbols()
        ->AddInt32(kStatus, outcome.status)
        .AddUuidString(kInstance, reporter.instanceUuid)
        .AddCurrentTime(kTime)
        .AddUuidMessage(kFirstIdentifier, task.first)
        .AddUuidMessage(kThirdIdentifier, task.third)
        .AddUuidMessage(kSecondIdentifier, task.second)
        .AddResourceId(kCode, outcome.code)
        .AddResourceId(kProduct, reporter.productId)
        .AddInt64(kSeverity, outcome.severity);
    if (!outcome.text.empty()) {
        event->GetSymbols()->AddString(kText, outcome.text);
    }
    event->SetReadOnly();
    return event;
}

}  // namespace Kyr::Connectors::Common
