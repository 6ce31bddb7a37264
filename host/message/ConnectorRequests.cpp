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
bool CTFDERequest::Equals(const Kernel::IMessage& other) const {
    const auto* same = dynamic_cast<const CTFDERequest*>(&other);
    return same != nullptr && same->requestType_ == requestType_;
}
void CTFDERequest::SetRequestType(std::int32_t requestType) {
    CheckWritable();
    requestType_ = requestType;
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
bool CTchRequest::Equals(const Kernel::IMessage& other) const {
    const auto* same = dynamic_cast<const CTchRequest*>(&other);
    return same != nullptr && same->requestType_ == requestType_;
}
void CTchRequest::SetRequestType(std::int32_t requestType) {
    CheckWritable();
    requestType_ = requestType;
}

}  // namespace TCHConnector
}  // namespace Kyr::Common::Message::Connectors
