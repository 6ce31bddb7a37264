// A task message that carries one protobuf message beside its identifiers.
//
// Threads and errors are those of CTask.
#pragma once

#include "host/message/Task.h"

namespace Kyr::Common::Message {

/// `Concrete` is the task message class itself.
template <typename Concrete, typename PayloadMessage>
class CPayloadTask : public CTask {
  public:
    using Payload = PayloadMessage;

    const Payload& GetPayload() const { return payload_; }
    /// Throws std::runtime_error "Message is read only".
    void SetPayload(const Payload& payload) {
        CheckWritable();
        payload_ = payload;
    }
    /// Equal class, identifiers and payload.
    bool Equals(const Kernel::IMessage& other) const override {
        const auto* same = dynamic_cast<const Concrete*>(&other);
        return same != nullptr && HasSameIdentifiers(*same) &&
               payload_.SerializePartialAsString() == same->GetPayload().SerializePartialAsString();
    }

  private:
    Payload payload_;
};

}  // namespace Kyr::Common::Message
