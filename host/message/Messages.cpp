#include <stdexcept>

#include "host/message/LogMessage.h"
#include "host/message/OvAgentTasks.h"
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

namespace Connectors::OvAgentConnector::Task {

CKillProcessByPid::~CKillProcessByPid() = default;
Kernel::MessageType CKillProcessByPid::GetMessageType() const {
    return Kernel::MessageType::KillProcessByPid;
}
std::string CKillProcessByPid::GetName() const {
    return "KillProcessByPid";
}

CBlockExecutableByHash::~CBlockExecutableByHash() = default;
Kernel::MessageType CBlockExecutableByHash::GetMessageType() const {
    return Kernel::MessageType::BlockExecutableByHash;
}
std::string CBlockExecutableByHash::GetName() const {
    return "BlockExecutableByHash";
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
