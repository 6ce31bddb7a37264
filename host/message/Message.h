// The base of all bus message classes of this system.
//
// Whoever makes a message fills it, makes it read-only and publishes it; the bus then hands the
// same object to every subscriber.
// Threads: one until the message is read-only, any from then on; nothing in it is locked.
// Errors: a setter of a read-only message throws std::runtime_error "Message is read only".
#pragma once

#include "host/kernel/IMessage.h"
#include "host/message/WriteControl.h"

namespace Kyr::Common::Message {

class CMessage : public Kernel::IMessage, public CWriteControl {
  public:
    ~CMessage() override;
};

}  // namespace Kyr::Common::Message
