#include "connector/tasks/WinOvKillProcessByPidTask.h"

#include <utility>

#include "connector/tasks/ActionRequest.h"
#include "host/message/OvAgentTasks.h"

namespace Kyr::Connectors::OvAgentConnector {

using Common::Kelcomm::Messages::CXmlRequest;
using Kyr::Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;

CWinOvKillProcessByPidTask::CWinOvKillProcessByPidTask(boost::shared_ptr<Common::IChannel> channel,
                                                       Common::ILogger* module)
    : CMessageTask(Kyr::Common::Kernel::MessageType::KillProcessByPid),
      channel_(std::move(channel)),
      module_(module) {}

CWinOvKillProcessByPidTask::~CWinOvKillProcessByPidTask() = default;

void CWinOvKillProcessByPidTask::Execute(
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
    SendActionRequest<CKillProcessByPid>(
        message, "Sending kill process by pid request to product", *channel_, *module_,
        [](const CKillProcessByPid& task) {
            CXmlRequest request = CXmlRequest::WithData("KILL_PROCESS_BY_PID");
            // Deliberately a number in a node of the type STRING: the product reads it so.
            request.StringNode("PID", task.GetPayload().process_id());
            AddHashNodes(request, task.GetPayload());
            return request.UserData(task).Close();
        });
}

}  // namespace Kyr::Connectors::OvAgentConnector
