// What a task sends to the product or receives from it: a request serializes itself, a response
// deserializes itself.
//
// Threads: a message belongs to one thread at a time.
// The order of the virtual operations is part of the contract.
#pragma once

#include <vector>

namespace Kyr::Connectors::Common {

class IChannelMessage {
  public:
    virtual ~IChannelMessage();
    /// The message's bytes, command header included.
    virtual std::vector<unsigned char> Serialize() const = 0;
    /// Fills the message from a whole reply, header included. Throws std::exception on a reply that
    /// does not fit.
    virtual void Deserialize(const std::vector<unsigned char>& reply) = 0;
};

/// Base of all requests.
class CChannelRequest : public IChannelMessage {
  public:
    ~CChannelRequest() override;
    /// Throws std::runtime_error: a request has nothing to read.
    void Deserialize(const std::vector<unsigned char>& reply) override;
};

/// Base of all responses.
class CChannelResponse : public IChannelMessage {
  public:
    ~CChannelResponse() override;
    /// Throws std::runtime_error: a response has nothing to send.
    std::vector<unsigned char> Serialize() const override;
};

}  // namespace Kyr::Connectors::Common
