#include "host/message/FdeTasks.h"

namespace Kyr::Common::Message::Connectors::FDEConnector::Task {

CEnableFDEMaintenanceMode::CEnableFDEMaintenanceMode(Kernel::MessageType type) : type_(type) {}

CEnableFDEMaintenanceMode::~CEnableFDEMaintenanceMode() = default;

Kernel::MessageType CEnableFDEMaintenanceMode::GetMessageType() const {
    return type_;
}

std::string CEnableFDEMaintenanceMode::GetName() const {
    return "EnableFDEMaintenanceMode";
}

bool CEnableFDEMaintenanceMode::Equals(const Kernel::IMessage& other) const {
    const auto* same = dynamic_cast<const CEnableFDEMaintenanceMode*>(&other);
    return same != nullptr && same->type_ == type_ && HasSameIdentifiers(*same) &&
           configuration_.SerializePartialAsString() ==
               same->configuration_.SerializePartialAsString();
}

void CEnableFDEMaintenanceMode::SetConfiguration(const Configuration& configuration) {
    CheckWritable();
    configuration_ = configuration;
}

}  // namespace Kyr::Common::Message::Connectors::FDEConnector::Task
