#include "logs/StatusLog.h"

#include <boost/make_shared.hpp>

#include "logs/MultiSymbolContainer.h"
#include "logs/StatusLogChecks.h"

namespace Kyr::Common::Message::Logs {

namespace {

constexpr char kClass[] = "CStatusLog";

}  // namespace

CStatusLog::CStatusLog(Kernel::MessageType type, boost::shared_ptr<Base::IClock> clock)
    : type_(type),
      rows_(boost::make_shared<Common::Logs::CMultiSymbolContainer>(std::move(clock))) {
    if (StatusLogDescriptor(kClass, type)->IsLogMultiproduct()) {
        RefuseMessageType(kClass, type, "is not status log, but a multi product status log");
    }
}
CStatusLog::~CStatusLog() = default;

Kernel::MessageType CStatusLog::GetMessageType() const {
    return type_;
}

std::string CStatusLog::GetName() const {
    return "StatusLog_" + StatusLogTypeName(type_);
}

bool CStatusLog::Equals(const Kernel::IMessage& other) const {
    return other.GetMessageType() == type_ &&
           rows_->Equals(*dynamic_cast<const CStatusLog&>(other).rows_);
}

void CStatusLog::Validate() const {
    CheckStatusRows(kClass, type_, *rows_, nullptr);
}

void CStatusLog::SetReadOnly() {
    CLogMessage::SetReadOnly();
    rows_->Lock();
}

}  // namespace Kyr::Common::Message::Logs
