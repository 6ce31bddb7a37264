// Hands the product a configuration to apply: text that nobody here looks into.
#pragma once

#include <string>
#include <vector>

#include "connector/channel/ChannelMessage.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CImportConfigurationRequest final : public CChannelRequest {
  public:
    explicit CImportConfigurationRequest(std::string configuration);
    std::vector<unsigned char> Serialize() const override;

  private:
    const std::string configuration_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
