// The interfaces' destructors, and the bases of requests and responses.
#include <stdexcept>

#include "connector/channel/ChannelMessage.h"
#include "connector/channel/ErrorReplyChannelException.h"
#include "connector/channel/IChannel.h"
#include "connector/channel/IChannelMessageFactory.h"

namespace Kyr::Connectors::Common {

IBufferReceiver::~IBufferReceiver() = default;
IChannel::~IChannel() = default;
IChannelMessage::~IChannelMessage() = default;
CChannelRequest::~CChannelRequest() = default;
CChannelResponse::~CChannelResponse() = default;
IChannelMessageFactory::~IChannelMessageFactory() = default;

// The spelling of the two texts is the product family's own; log readers match on it.
void CChannelRequest::Deserialize(const std::vector<unsigned char>& /*reply*/) {
    throw std::runtime_error(
        "Standard implemtation of deserialization in channel request is not implemented");
}

std::vector<unsigned char> CChannelResponse::Serialize() const {
    throw std::runtime_error(
        "Standard implemtation of serialize in channel response is not implemented");
}

CErrorReplyChannelException::CErrorReplyChannelException(const std::string& text,
                                                         std::uint32_t status)
    : std::runtime_error(text), status_(status) {}
CErrorReplyChannelException::~CErrorReplyChannelException() = default;

}  // namespace Kyr::Connectors::Common
