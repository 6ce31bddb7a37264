#include "logs/MultiProductStatusLog.h"

#include <stdexcept>

#include <boost/make_shared.hpp>

#include "logs/MultiSymbolContainer.h"
#include "logs/StatusLogChecks.h"

namespace Kyr::Common::Message::Logs {

namespace {

constexpr char kClass[] = "CMultiProductStatusLog";

}  // namespace

CMultiProductStatusLog::CMultiProductStatusLog(Kernel::MessageType type,
                                               Symbols productIdentification,
                                               boost::shared_ptr<Base::IClock> clock)
    : type_(type),
      rows_(boost::make_shared<Common::Logs::CMultiSymbolContainer>(std::move(clock))),
      productIdentification_(std::move(productIdentification)) {
    const auto descriptor = StatusLogDescriptor(kClass, type);
    if (!descriptor->IsLogMultiproduct()) {
        // Deliberate: the host knows the text with this wording.
        RefuseMessageType(kClass, type, "is a multi product status log but a CStatusLog");
    }
    for (const auto& key : descriptor->GetDeltaSymbolsByTag(Common::Logs::TAG_PRODUCT_KEY)) {
        if (!productIdentification_->HasSymbol(key->GetDeltaSymbolType())) {
            throw std::runtime_error(
                "CMultiProductStatusLog: Product identifier must have set fields that have "
                "TAG_PRODUCT_KEY set !");
        }
    }
}
CMultiProductStatusLog::~CMultiProductStatusLog() = default;

Kernel::MessageType CMultiProductStatusLog::GetMessageType() const {
    return type_;
}

std::string CMultiProductStatusLog::GetName() const {
    return "StatusLog_" + StatusLogTypeName(type_);
}

bool CMultiProductStatusLog::Equals(const Kernel::IMessage& other) const {
    return other.GetMessageType() == type_ &&
           rows_->Equals(*dynamic_cast<const CMultiProductStatusLog&>(other).rows_);
}

void CMultiProductStatusLog::Validate() const {
    CheckStatusRows(kClass, type_, *rows_, productIdentification_.get());
}

void CMultiProductStatusLog::SetReadOnly() {
    CLogMessage::SetReadOnly();
    rows_->Lock();
}

}  // namespace Kyr::Common::Message::Logs
