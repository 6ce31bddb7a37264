// The base of all bus message classes of this system.
#pragma once

#include "host/kernel/IMessage.h"
#include "host/message/WriteControl.h"

namespace Kyr::Common::Message {

class CMessage : public Kernel::IMessage, public CWriteControl {
  public:
    ~CMessage() override;
};

}  // namespace Kyr::Common::Message
