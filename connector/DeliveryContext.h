// The delivery context that the calling thread publishes with.
//
// Every thread has its own, an empty one until it sets another. It is kept until it is replaced:
// what a thread publishes between two messages travels with the context of the first one.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/kernel/IDeliveryContext.h"

namespace Kyr::Connectors::Common {

void SetDeliveryContext(const boost::shared_ptr<Kyr::Common::Kernel::IDeliveryContext>& context);

/// The reference is valid until the thread sets another context or ends. Leaves nothing behind in a
/// thread that has set none: such a thread may outlive the library.
const boost::shared_ptr<Kyr::Common::Kernel::IDeliveryContext>& GetDeliveryContext();

}  // namespace Kyr::Connectors::Common
