#include <stdexcept>

#include "host/message/LogMessage.h"
#include "host/message/OvAgentTasks.h"
#include "host/module/Response.h"

namespace Kyr::Common::Message {

namespace {

bool SameIdentifiers(const CTask& left, const CTask& right) {
    return left.GetFirstIdentifier().uuid() == right.GetFirstIdentifier().uuid() &&
           left.GetSecondIdentifier().uuid() == right.GetSecondIdentifier().uuid() &&
           left.GetThirdIdentifier().uuid() == right.GetThirdIdentifier().uuid();
}

template <typename Task>
bool SameTask(const Task& task, const Kernel::IMessage& other) {
    const auto* same = dynamic_cast<const Task*>(&other);
    return same != nullptr && SameIdentifiers(task, *same) &&
           task.GetPayload().SerializePartialAsString() ==
               same->GetPayload().SerializePartialAsString();
}

}  // namespace

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

namespace Connectors::OvAgentConnector::Task {

CKillProcessByPid::~CKillProcessByPid() = default;
Kernel::MessageType CKillProcessByPid::GetMessageType() const {
    return Kernel::MessageType::KillProcessByPid;
}
std::string CKillProcessByPid::GetName() const {
    return "KillProcessByPid";
}
bool CKillProcessByPid::Equals(const Kernel::IMessage& other) const {
    return SameTask(*this, other);
}
void CKillProcessByPid::SetPayload(const Payload& payload) {
    CheckWritable();
    payload_ = payload;
}

CBlockExecutableByHash::~CBlockExecutableByHash() = default;
Kernel::MessageType CBlockExecutableByHash::GetMessageType() const {
    return Kernel::MessageType::BlockExecutableByHash;
}
std::string CBlockExecutableByHash::GetName() const {
    return "BlockExecutableByHash";
}
bool CBlockExecutableByHash::Equals(const Kernel::IMessage& other) const {
    return SameTask(*this, other);
}
void CBlockExecutableByHash::SetPayload(const Payload& payload) {
    CheckWritable();
    payload_ = payload;
}

}  // namespace Connectors::OvAgentConnector::Task
}  // namespace Kyr::Common::Message

namespace Kyr::Common::Module {

CResponse::CResponse(std::uint32_t requestId, Kernel::MessageType type)
    : requestId_(requestId), type_(type) {}
CResponse::~CResponse() = default;
Kernel::MessageType CResponse::GetMessageType() const {
    return type_;
}
std::string CResponse::GetName() const {
    return "Response";
}
bool CResponse::Equals(const Kernel::IMessage& other) const {
    const auto* same = dynamic_cast<const CResponse*>(&other);
    return same != nullptr && same->type_ == type_ && same->requestId_ == requestId_;
}

}  // namespace Kyr::Common::Module
