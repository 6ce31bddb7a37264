// A message of the host bus, as every module sees it.
//
// Shared ownership (boost::shared_ptr). One thread builds a message; it is not changed any more
// once it has been published.
// Threads: any, from its publication on.
// The order of the virtual operations is the host's contract.
#pragma once

#include <string>

#include "host/kernel/MessageType.h"

namespace Kyr::Common::Kernel {

class IMessage {
  public:
    virtual ~IMessage();
    virtual MessageType GetMessageType() const = 0;
    /// The message's name, for log lines.
    virtual std::string GetName() const = 0;
    /// For the host; the connector itself compares no messages. Each class says what it looks at.
    virtual bool Equals(const IMessage& other) const = 0;
};

}  // namespace Kyr::Common::Kernel
