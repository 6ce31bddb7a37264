// Hands the product a configuration to apply: text that nobody here looks into.
//
// Made by the factory for CImportConfigurationTask, with the text of a policy. There is no response
// class: of the reply only the status counts, which the channel checks.
// Threads: a message belongs to one thread at a time. Errors: none of its own.
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
