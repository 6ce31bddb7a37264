// The server asks for the configuration of a product.
#pragma once

#include <string>

#include "host/message/Task.h"
#include "host/proto/configuration.pb.h"

namespace Kyr::Common::Message::Configuration {

/// Type 5, name "RequestConfiguration". Its outcome is reported under the three identifiers.
class CRequestConfigurationMessage : public CTask {
  public:
    using Payload = DataDefinition::Configuration::RequestConfiguration;

    ~CRequestConfigurationMessage() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
    /// Equal type, identifiers and payload.
    bool Equals(const Kernel::IMessage& other) const override;

    const Payload& GetPayload() const { return payload_; }
    /// Throws std::runtime_error "Message is read only".
    void SetPayload(const Payload& payload);

  private:
    Payload payload_;
};

}  // namespace Kyr::Common::Message::Configuration
