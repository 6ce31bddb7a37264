// The server asks for the configuration of a product.
#pragma once

#include <string>

#include "host/message/PayloadTask.h"
#include "host/proto/configuration.pb.h"

namespace Kyr::Common::Message::Configuration {

/// Type 5, name "RequestConfiguration". Its outcome is reported under the three identifiers.
class CRequestConfigurationMessage
    : public CPayloadTask<CRequestConfigurationMessage,
                          DataDefinition::Configuration::RequestConfiguration> {
  public:
    ~CRequestConfigurationMessage() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
};

}  // namespace Kyr::Common::Message::Configuration
