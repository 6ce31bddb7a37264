// The base of all messages that report a log.
//
// Threads: one until the message is read-only, any from then on.
#pragma once

#include "host/message/Message.h"

namespace Kyr::Common::Message {

class CLogMessage : public CMessage {
  public:
    ~CLogMessage() override;
    /// Throws when the content does not fit the log type.
    virtual void Validate() const = 0;
    /// Whether Validate passes. Never throws.
    virtual bool IsValid() const;
};

}  // namespace Kyr::Common::Message
