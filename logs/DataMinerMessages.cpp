#include "logs/DataMinerMessages.h"

namespace Kyr::Common::Message::DataMiners {

CDataMinerStoreEcsIndicatorLogs::~CDataMinerStoreEcsIndicatorLogs() = default;

Kernel::MessageType CDataMinerStoreEcsIndicatorLogs::GetMessageType() const {
    return Kernel::MessageType::DataMinerStoreEcsIndicatorLogs;
}

std::string CDataMinerStoreEcsIndicatorLogs::GetName() const {
    return "DataMinerStoreEcsIndicatorLogs";
}

CDataMinerStoreEcsTelemetryLogs::~CDataMinerStoreEcsTelemetryLogs() = default;

Kernel::MessageType CDataMinerStoreEcsTelemetryLogs::GetMessageType() const {
    return Kernel::MessageType::DataMinerStoreEcsTelemetryLogs;
}

std::string CDataMinerStoreEcsTelemetryLogs::GetName() const {
    return "DataMinerStoreEcsTelemetryLogs";
}

CDataMinerOutOfOrderEventMessage::~CDataMinerOutOfOrderEventMessage() = default;

Kernel::MessageType CDataMinerOutOfOrderEventMessage::GetMessageType() const {
    return Kernel::MessageType::DataMinerOutOfOrderEvent;
}

std::string CDataMinerOutOfOrderEventMessage::GetName() const {
    return "DataMinerOutOfOrderEventMessage";
}

bool CDataMinerOutOfOrderEventMessage::Equals(const Kernel::IMessage& other) const {
    return other.GetMessageType() == GetMessageType();
}

}  // namespace Kyr::Common::Message::DataMiners
