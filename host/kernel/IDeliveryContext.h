// What the host bus attaches to a delivery, and wants back with whatever is published because of
// it.
//
// Opaque to modules. An empty shared pointer is the context of a message that no delivery caused.
#pragma once

namespace Kyr::Common::Kernel {

class IDeliveryContext {
  public:
    virtual ~IDeliveryContext();
};

}  // namespace Kyr::Common::Kernel
