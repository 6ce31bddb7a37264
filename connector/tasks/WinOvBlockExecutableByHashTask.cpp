#include "connector/tasks/WinOvBlockExecutableByHashTask.h"

#include <utility>

#include "connector/tasks/ActionRequest.h"
#include "host/message/OvAgentTasks.h"

namespace Kyr::Connectors::OvAgentConnector {

using Common::Kelcomm::Messages::CXmlRequest;
using Kyr::Common::Message::Connectors::OvAgentConnector::Task::CBlockExecutableByHash;

CWinOvBlockExecutableByHashTask::CWinOvBlockExecutableByHashTask(
    boost::shared_ptr<Common::IChannel> channel, Common::ILogger* module)
    : CMessageTask(Kyr::Common::Kernel::MessageType::BlockExecutableByHash),
      channel_(std::move(channel)),
      module_(module) {}

CWinOvBlockExecutableByHashTask::~CWinOvBlockExecutableByHashTask() = default;

void CWinOvBlockExecutableByHashTask::Execute(
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
    SendActionRequest<CBlockExecutableByHash>(
        message, "Sending block executable by hash request to product", *channel_, *module_,
        [](const CBlockExecutableByHash& task) {
            CXmlRequest request = CXmlRequest::WithData("BLOCK_EXECUTABLE_BY_HASH");
            AddHashNodes(request, task.GetPayload());
            request.DwordNode("DELETE", task.GetPayload().delete_executable() ? 1 : 0);
            return request.UserData(task).Close();
        });
}

}  // namespace Kyr::Connectors::OvAgentConnector
