// Handles bus messages one at a time, on a thread that somebody else provides.
//
// Errors: Process throws std::exception on a message that it cannot handle; the caller reports it
// and goes on. The order of the virtual operations is part of the contract.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"

namespace Kyr::Common::Module {

class IMessageProcessor {
  public:
    virtual ~IMessageProcessor();
    virtual void Process(const boost::shared_ptr<Kernel::IMessage>& message) = 0;
};

}  // namespace Kyr::Common::Module
