// The connector's own trigger: it publishes one to itself to make its tasks contact the product.
//
// Threads: none inside; made read-only, then published.
#pragma once

#include <cstdint>

#include "host/message/Message.h"

namespace Kyr::Common::Message::Connectors::OvAgentConnector {

/// What a trigger asks for. The numbers are the host's; 1 is not used. Those of other connectors,
/// whose tasks are shared, stand in host/message/ConnectorRequests.h.
enum OvAgentRequestType : std::int32_t {
    kProtectionStatus = 0,
    kTaskStatus = 2,
    kEcsIndicatorLogs = 3,
    kEcsTelemetryLogs = 4,
    kRemediationActions = 5,
};

/// Type 7, name "OvAgentRequest".
class COvAgentRequest : public CMessage {
  public:
    ~COvAgentRequest() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
    /// Equal type, class and request type. Never throws.
    bool Equals(const Kernel::IMessage& other) const override;

    std::int32_t GetRequestType() const { return requestType_; }
    /// Throws std::runtime_error "Message is read only".
    void SetRequestType(std::int32_t requestType);

  private:
    std::int32_t requestType_ = kProtectionStatus;
};

}  // namespace Kyr::Common::Message::Connectors::OvAgentConnector
