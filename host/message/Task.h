// A task message of the server: what carries three identifiers and reports its outcome under them.
//
// The host makes it of what the server sent, and publishes it; the connector that subscribes to its
// type reads it on its task thread.
// Threads: one until the message is read-only, any from then on.
// Errors: the setter throws std::runtime_error "Message is read only".
#pragma once

#include "host/message/Message.h"
#include "host/proto/common.pb.h"

namespace Kyr::Common::Message {

class CTask : public CMessage {
  public:
    using Uuid = DataDefinition::Common::Uuid;

    ~CTask() override;

    /// The three identifiers, in their declared order. Their texts are not checked here.
    const Uuid& GetFirstIdentifier() const { return first_; }
    const Uuid& GetSecondIdentifier() const { return second_; }
    const Uuid& GetThirdIdentifier() const { return third_; }

    /// Throws std::runtime_error "Message is read only".
    void SetIdentifiers(const Uuid& first, const Uuid& second, const Uuid& third);

  protected:
    bool HasSameIdentifiers(const CTask& other) const;

  private:
    Uuid first_;
    Uuid second_;
    Uuid third_;
};

}  // namespace Kyr::Common::Message
