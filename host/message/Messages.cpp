// What the message classes do, and the home of their virtual tables: objects of them are cast
// across library borders.
#include <stdexcept>

#include "host/message/ApplyPolicy.h"
#include "host/message/ConnectorRequests.h"
#include "host/message/FdeTasks.h"
#include "host/message/LogMessage.h"
#include "host/message/OvAgentTasks.h"
#include "host/message/RequestConfigurationMessage.h"
#include "host/module/Response.h"

namespace Kyr::Common::Message {

CWriteControl::~CWriteControl() = default;
bool CWriteControl::IsReadOnly() const {
    return readOnly_;
}
void CWriteControl::SetReadOnly() {
    readOnly_ = true;
}
void CWriteControl::CheckWritable() const {
    if (readOnly_) {
        throw std::runtime_error("Message is read only");
    }
}

CMessage::~CMessage() = default;

CLogMessage::~CLogMessage() = default;
bool CLogMessage::IsValid() const {
    try {
        Validate();
        return true;
    } catch (...) {
        return false;
    }
}

CTask::~CTask() = default;
void CTask::SetIdentifiers(const Uuid& first, const Uuid& second, const Uuid& third) {
    CheckWritable();
    first_ = first;
    second_ = second;
    third_ = third;
}
bool CTask::HasSameIdentifiers(const CTask& other) const {
    return first_.uuid() == other.first_.uuid() && second_.uuid() == other.second_.uuid() &&
           third_.uuid() == other.third_.uuid();
}

Policies::CApplyPolicy::~CApplyPolicy() = default;
bool Policies::CApplyPolicy::Equals(const Kernel::IMessage& other) const {
    const auto* same = dynamic_cast<const CApplyPolicy*>(&other);
    return same != nullptr && same->policyBlob_ == policyBlob_;
}
void Policies::CApplyPolicy::SetPolicyBlob(const std::string& policyBlob) {
    CheckWritable();
    policyBlob_ = policyBlob;
}

Configuration::CRequestConfigurationMessage::~CRequestConfigurationMessage() = default;

namespace Connectors {

OvAgentConnector::Task::CKillProcessByPid::~CKillProcessByPid() = default;
OvAgentConnector::Task::CBlockExecutableByHash::~CBlockExecutableByHash() = default;
TFDEConnector::CTFDERequest::~CTFDERequest() = default;
TCHConnector::CTchRequest::~CTchRequest() = default;

}  // namespace Connectors

namespace Connectors::FDEConnector::Task {

CEnableFDEMaintenanceMode::CEnableFDEMaintenanceMode(Kernel::MessageType type) : type_(type) {}
CEnableFDEMaintenanceMode::~CEnableFDEMaintenanceMode() = default;
bool CEnableFDEMaintenanceMode::Equals(const Kernel::IMessage& other) const {
    return other.GetMessageType() == type_ && CPayloadTask::Equals(other);
}

}  // namespace Connectors::FDEConnector::Task
}  // namespace Kyr::Common::Message

namespace Kyr::Common::Module {

CResponse::CResponse(std::uint32_t requestId, Kernel::MessageType type)
    : requestId_(requestId), type_(type) {}
CResponse::~CResponse() = default;
bool CResponse::Equals(const Kernel::IMessage& other) const {
    const auto* same = dynamic_cast<const CResponse*>(&other);
    return same != nullptr && same->type_ == type_ && same->requestId_ == requestId_;
}

}  // namespace Kyr::Common::Module
