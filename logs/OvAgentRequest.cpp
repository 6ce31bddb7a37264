#include "logs/OvAgentRequest.h"

namespace Kyr::Common::Message::Connectors::OvAgentConnector {

COvAgentRequest::~COvAgentRequest() = default;

Kernel::MessageType COvAgentRequest::GetMessageType() const {
    return Kernel::MessageType::OvAgentRequest;
}

std::string COvAgentRequest::GetName() const {
    return "OvAgentRequest";
}

bool COvAgentRequest::Equals(const Kernel::IMessage& other) const {
    const auto* same = dynamic_cast<const COvAgentRequest*>(&other);
    return other.GetMessageType() == GetMessageType() && same != nullptr &&
           same->requestType_ == requestType_;
}

void COvAgentRequest::SetRequestType(std::int32_t requestType) {
    CheckWritable();
    requestType_ = requestType;
}

}  // namespace Kyr::Common::Message::Connectors::OvAgentConnector
