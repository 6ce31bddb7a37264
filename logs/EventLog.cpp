#include "logs/EventLog.h"

#include <stdexcept>

#include <boost/make_shared.hpp>

#include "host/logs/ILockable.h"
#include "host/logs/LogDescriptorMap.h"
#include "host/logs/SymbolContainerValidator.h"
#include "logs/SymbolContainer.h"

namespace Kyr::Common::Message::Logs {

namespace {

const Common::Logs::CLogMessageDescriptor& DescriptorOf(Kernel::MessageType type) {
    return Common::Logs::CLogDescriptorMap::Instance().GetMessageDescriptor(type);
}

}  // namespace

CEventLog::CEventLog(Kernel::MessageType type, boost::shared_ptr<Base::IClock> clock)
    : type_(type), symbols_(boost::make_shared<Common::Logs::CSymbolContainer>(std::move(clock))) {
    const auto& descriptor = DescriptorOf(type);
    const bool described =
        type == descriptor.GetEventMessageType() || type == descriptor.GetDeltaMessageType();
    // What is not described has the number that means "no type" in all places.
    if (!described || type == Common::Logs::kNoMessageType) {
        throw std::runtime_error("CEventLog: Message type " +
                                 std::to_string(static_cast<std::uint32_t>(type)) +
                                 " is not event or delta log");
    }
}
CEventLog::~CEventLog() = default;

Kernel::MessageType CEventLog::GetMessageType() const {
    return type_;
}

std::string CEventLog::GetName() const {
    const auto& descriptor = DescriptorOf(type_);
    const auto logType =
        descriptor.IsDelta(type_) ? descriptor.GetDeltaLogType() : descriptor.GetEventLogType();
    return "EventLog_" + DataDefinition::Logs::LogType_Name(logType);
}

bool CEventLog::Equals(const Kernel::IMessage& other) const {
    return other.GetMessageType() == type_ &&
           symbols_->Equals(*dynamic_cast<const CEventLog&>(other).symbols_);
}

void CEventLog::Validate() const {
    const auto& descriptor = DescriptorOf(type_);
    Common::Logs::CSymbolContainerValidator::ValidateSymbolContainer(*symbols_, descriptor,
                                                                     descriptor.GetLogType(type_));
}

void CEventLog::SetReadOnly() {
    CLogMessage::SetReadOnly();
    dynamic_cast<Common::Logs::ILockable&>(*symbols_).Lock();
}

}  // namespace Kyr::Common::Message::Logs
