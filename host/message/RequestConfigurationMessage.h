// The server asks for the configuration of a product.
//
// Made and published by the host, for every connector; the one whose product type the payload names
// publishes the configuration, and then the outcome. Threads and errors are those of CTask.
#pragma once

#include <string>

#include "host/message/PayloadTask.h"
#include "host/proto/configuration.pb.h"

namespace Kyr::Common::Message::Configuration {

/// Its outcome is reported under the three identifiers.
class CRequestConfigurationMessage
    : public CPayloadTask<CRequestConfigurationMessage,
                          DataDefinition::Configuration::RequestConfiguration> {
  public:
    ~CRequestConfigurationMessage() override;
    Kernel::MessageType GetMessageType() const override {
        return Kernel::MessageType::RequestConfiguration;
    }
    std::string GetName() const override { return "RequestConfiguration"; }
};

}  // namespace Kyr::Common::Message::Configuration
