// The Ov connector's channel: also tells which broadcast values have changed since it last looked.
//
// Threads: HasBroadcastChanged belongs to one thread, the periodic one; the rest is as in the base.
#pragma once

#include <cstdint>
#include <map>

#include "kelcomm/KelcommChannelAdapter.h"

namespace Kyr::Connectors::OvAgentConnector {

class COvAgentChannel : public Common::Kelcomm::CKelcommChannelAdapter {
  public:
    using CKelcommChannelAdapter::CKelcommChannelAdapter;
    ~COvAgentChannel() override;

    /// True when GetBroadcast(index) differs from what the previous call for that index saw; the
    /// first call compares with -1. Throws like GetBroadcast.
    bool HasBroadcastChanged(std::int32_t index);

  private:
    std::map<std::int32_t, std::int32_t> lastValues_;  // by index
};

}  // namespace Kyr::Connectors::OvAgentConnector
