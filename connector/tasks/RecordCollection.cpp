#include "connector/tasks/RecordCollection.h"

#include "logs/OvAgentRequest.h"

namespace Kyr::Connectors::OvAgentConnector {

using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;

bool IsTrigger(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message,
               std::int32_t requestType) {
    const auto trigger = boost::dynamic_pointer_cast<COvAgentRequest>(message);
    return trigger && trigger->GetRequestType() == requestType;
}

}  // namespace Kyr::Connectors::OvAgentConnector
