// Publishes messages on the host bus, with the delivery context of the thread that calls.
//
// Threads: any. Errors: the bus's. The message is complete; nobody changes it afterwards.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"

namespace Kyr::Common::Module {

class IMessagePublisher {
  public:
    // The first virtual operation: the contract has no destructor before it.
    virtual void Publish(const boost::shared_ptr<Kernel::IMessage>& message) = 0;

  protected:
    ~IMessagePublisher() = default;
};

}  // namespace Kyr::Common::Module
