// A task message of the server: what carries three identifiers and reports its outcome under them.
#pragma once

#include "host/message/Message.h"
#include "host/proto/common.pb.h"

namespace Kyr::Common::Message {

class CTask : public CMessage {
  public:
    using Uuid = DataDefinition::Common::Uuid;

    ~CTask() override;

    /// The three identifiers, in their declared order.
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
