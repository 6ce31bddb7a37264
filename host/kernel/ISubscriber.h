// A module's end of the host bus: the bus pushes every message of a subscribed type into it.
//
// Threads: the bus calls Push on its own threads, several at a time.
// The order of the virtual operations is the host's contract.
#pragma once

#include <string>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include "host/kernel/IDeliveryContext.h"
#include "host/kernel/IMessage.h"

namespace Kyr::Common::Kernel {

class ISubscriber {
  public:
    using MessageVisitor = boost::function<void(const boost::shared_ptr<IMessage>&)>;

    virtual ~ISubscriber();
    virtual void Push(const boost::shared_ptr<IMessage>& message,
                      const boost::shared_ptr<IDeliveryContext>& context) = 0;
    /// One line that names the pending messages.
    virtual std::string Dump() const = 0;
    /// Calls `visitor` with each pending message. The base implementation does nothing.
    virtual void VisitPendingMessages(MessageVisitor visitor);
};

}  // namespace Kyr::Common::Kernel
