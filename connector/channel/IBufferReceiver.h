// Where a channel delivers the reply of a request.
//
// Threads: called on the thread that sends, inside Send.
// Ownership: shared by the channel until the next SetBufferReceiver; a receiver must stay valid
// until then. The order of the virtual operations is part of the contract.
#pragma once

#include <vector>

namespace Kyr::Connectors::Common {

class IBufferReceiver {
  public:
    /// `reply` is the whole reply, header included. What it throws reaches the caller of Send.
    virtual void OnBufferReceived(const std::vector<unsigned char>& reply) = 0;
    virtual ~IBufferReceiver();
};

}  // namespace Kyr::Connectors::Common
