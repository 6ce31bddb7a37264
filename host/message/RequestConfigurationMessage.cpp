#include "host/message/RequestConfigurationMessage.h"

namespace Kyr::Common::Message::Configuration {

CRequestConfigurationMessage::~CRequestConfigurationMessage() = default;

Kernel::MessageType CRequestConfigurationMessage::GetMessageType() const {
    return Kernel::MessageType::RequestConfiguration;
}

std::string CRequestConfigurationMessage::GetName() const {
    return "RequestConfiguration";
}

}  // namespace Kyr::Common::Message::Configuration
