// A message of the host bus, as every module sees it.
//
// Shared ownership (boost::shared_ptr); a message is not changed any more once it has been
// published. The order of the virtual operations is the host's contract.
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
    virtual bool Equals(const IMessage& other) const = 0;
};

}  // namespace Kyr::Common::Kernel
