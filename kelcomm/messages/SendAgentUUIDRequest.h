// Tells the product which agent instance it talks to: two tag/length/value records.
#pragma once

#include <string>
#include <vector>

#include "connector/channel/ChannelMessage.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CSendAgentUUIDRequest final : public CChannelRequest {
  public:
    /// `agentUuid`: in text form; cut at its first zero byte when it is sent.
    explicit CSendAgentUUIDRequest(std::string agentUuid);
    std::vector<unsigned char> Serialize() const override;

  private:
    const std::string agentUuid_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
