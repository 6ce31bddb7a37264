// Asks the product for its configuration, and holds the answer: text that nobody here looks into.
#pragma once

#include <string>
#include <vector>

#include "connector/channel/Responses.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

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
