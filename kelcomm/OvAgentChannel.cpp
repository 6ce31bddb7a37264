#include "kelcomm/OvAgentChannel.h"

namespace Kyr::Connectors::OvAgentConnector {

COvAgentChannel::~COvAgentChannel() = default;

bool COvAgentChannel::HasBroadcastChanged(std::int32_t index) {
    std::int32_t& lastValue = lastValues_.emplace(index, -1).first->second;
    const std::int32_t value = GetBroadcast(index);
    if (value == lastValue) {
        return false;
    }
    lastValue = value;
    return true;
}

}  // namespace Kyr::Connectors::OvAgentConnector
