// The road to the product: one serialized request at a time, its reply to the receiver.
//
// Threads: Start, Send and SetBufferReceiver are called on the task thread.
// The order of the virtual operations is part of the contract.
#pragma once

#include <vector>

#include <boost/shared_ptr.hpp>

#include "connector/channel/IBufferReceiver.h"

namespace Kyr::Connectors::Common {

class IChannel {
  public:
    /// Makes the channel usable; throws std::runtime_error when the product cannot be reached.
    virtual void Start() = 0;
    /// Sends the request and, before it returns, hands the whole reply to the receiver. Throws when
    /// the exchange fails or the product refuses; the receiver is not called then.
    virtual void Send(const std::vector<unsigned char>& request) = 0;
    /// Stores the receiver of all later replies, releasing the previous one. Empty: replies are
    /// dropped.
    virtual void SetBufferReceiver(const boost::shared_ptr<IBufferReceiver>& receiver) = 0;
    virtual void Stop() = 0;
    virtual ~IChannel();
};

}  // namespace Kyr::Connectors::Common
