// Tells the product which agent instance it talks to: two tag/length/value records.
//
// Made by the factory; the module sends one for each connection, as soon as the channel has
// started. Of the reply only the status counts, which the channel checks.
// Threads: a message belongs to one thread at a time. Errors: none of its own.
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
