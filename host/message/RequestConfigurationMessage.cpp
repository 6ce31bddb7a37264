#include "host/message/RequestConfigurationMessage.h"

namespace Kyr::Common::Message::Configuration {

CRequestConfigurationMessage::~CRequestConfigurationMessage() = default;

Kernel::MessageType CRequestConfigurationMessage::GetMessageType() const {
    return Kernel::MessageType::RequestConfiguration;
}

std::string CRequestConfigurationMessage::GetName() const {
    return "RequestConfiguration";
}

bool CRequestConfigurationMessage::Equals(const Kernel::IMessage& other) const {
    const auto* same = dynamic_cast<const CRequestConfigurationMessage*>(&other);
    return same != nullptr && GetFirstIdentifier().uuid() == same->GetFirstIdentifier().uuid() &&
           GetSecondIdentifier().uuid() == same->GetSecondIdentifier().uuid() &&
           GetThirdIdentifier().uuid() == same->GetThirdIdentifier().uuid() &&
           payload_.SerializeAsString() == same->payload_.SerializeAsString();
}

void CRequestConfigurationMessage::SetPayload(const Payload& payload) {
    CheckWritable();
    payload_ = payload;
}

}  // namespace Kyr::Common::Message::Configuration
