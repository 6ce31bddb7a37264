// What the host bus attaches to a delivery, and wants back with whatever is published because of
// it.
//
// Opaque to modules: they keep the pointer and hand it back, and never look inside. An empty shared
// pointer is the context of a message that no delivery caused.
// Threads: whichever the delivery passes through; modules call nothing of it.
#pragma once

namespace Kyr::Common::Kernel {

class IDeliveryContext {
  public:
    virtual ~IDeliveryContext();
};

}  // namespace Kyr::Common::Kernel
