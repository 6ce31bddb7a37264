// The event log by which the server learns what became of a task message: that it failed or was
// cancelled, or how the product carried it out.
//
// Shared by the core and by the tasks that report outcomes of their own. The identifiers stand in
// the event in another order than they are declared in: the third before the second.
//
// Threads: any; functions without memory.
#pragma once

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "connector/reports/Reporter.h"
#include "host/message/Task.h"
#include "logs/EventLog.h"

namespace Kyr::Connectors::Common {

/// What became of the task, in the terms of host/Catalogue.h.
struct TaskOutcome {
    std::int32_t status;
    std::uint64_t code;
    std::int64_t severity;
    std::string text;  // left out of the event when empty
};

/// Which task message it was: its identifiers in their declared order.
struct TaskIdentifiers {
    using Uuid = Kyr::Common::Message::CTask::Uuid;
    Uuid first;
    Uuid second;
    Uuid third;
};

/// The message as a task message whose three identifiers are all set; otherwise empty, and there is
/// nobody to send an event to.
boost::shared_ptr<Kyr::Common::Message::CTask> ReportableTask(
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message);

/// A read-only event ready to be published. Throws std::runtime_error when an identifier is not a
/// UUID.
boost::shared_ptr<Kyr::Common::Message::Logs::CEventLog> MakeTaskEvent(
    const Kyr::Common::Message::CTask& task, const TaskOutcome& outcome, const Reporter& reporter);
boost::shared_ptr<Kyr::Common::Message::Logs::CEventLog> MakeTaskEvent(const TaskIdentifiers& task,
                                                                       const TaskOutcome& outcome,
                                                                       const Reporter& reporter);

}  // namespace Kyr::Connectors::Common
