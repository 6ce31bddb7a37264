// Asks the product for its configuration, and holds the reply: text that nobody here looks into.
//
// Made by the factory for CExportConfigurationTask, which publishes the text as it is.
// Threads: a message belongs to one thread at a time.
// Errors: a reply shorter than it announces throws std::runtime_error.
#pragma once

#include <string>
#include <vector>

#include "connector/channel/Responses.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

/// The command header alone.
class CExportConfigurationRequest final : public CChannelRequest {
  public:
    std::vector<unsigned char> Serialize() const override;
};

class CExportConfigurationResponse final : public Common::CExportConfigurationResponse {
  public:
    void Deserialize(const std::vector<unsigned char>& reply) override;
    const std::string& GetConfiguration() const override { return configuration_; }

  private:
    std::string configuration_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
