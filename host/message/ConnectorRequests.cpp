#include "host/message/ConnectorRequests.h"

namespace Kyr::Common::Message::Connectors {

namespace TFDEConnector {

CTFDERequest::~CTFDERequest() = default;
Kernel::MessageType CTFDERequest::GetMessageType() const {
    return Kernel::MessageType::TFDERequest;
}
std::string CTFDERequest::GetName() const {
    return "TFDERequest";
}

}  // namespace TFDEConnector

namespace TCHConnector {

CTchRequest::~CTchRequest() = default;
Kernel::MessageType CTchRequest::GetMessageType() const {
    return Kernel::MessageType::TchRequest;
}
std::string CTchRequest::GetName() const {
    return "TchRequest";
}

}  // namespace TCHConnector
}  // namespace Kyr::Common::Message::Connectors
