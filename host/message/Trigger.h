// What the triggers of other connectors are: a connector publishes one to make its tasks fetch
// something from the product.
//
// Threads: none inside; made read-only, then published.
#pragma once

#include <cstdint>

#include "host/message/Message.h"

namespace Kyr::Common::Message {

/// `Concrete` is the trigger class itself. What a request type means is the connector's own.
template <typename Concrete>
class CTrigger : public CMessage {
  public:
    std::int32_t GetRequestType() const { return requestType_; }
    /// Throws std::runtime_error "Message is read only".
    void SetRequestType(std::int32_t requestType) {
        CheckWritable();
        requestType_ = requestType;
    }
    /// Equal type, class and request type. Never throws.
    bool Equals(const Kernel::IMessage& other) const override {
        const auto* same = dynamic_cast<const Concrete*>(&other);
        return other.GetMessageType() == GetMessageType() && same != nullptr &&
               same->GetRequestType() == requestType_;
    }

  private:
    std::int32_t requestType_ = 0;
};

}  // namespace Kyr::Common::Message
