// The delivery context that the calling thread publishes with.
//
// A thread has none until it sets one of its own, and publishes with an empty one until then. It is
// kept until it is replaced: what a thread publishes between two messages travels with the context
// of the first one.
//
// Threads: each sees its own context only.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/kernel/IDeliveryContext.h"

namespace Kyr::Connectors::Common {

/// Throws std::bad_alloc in a thread that has set none yet, never in another.
void SetDeliveryContext(const boost::shared_ptr<Kyr::Common::Kernel::IDeliveryContext>& context);

/// The reference is valid until the thread sets another context or ends. Leaves nothing behind in a
/// thread that has set none: such a thread may outlive the library.
const boost::shared_ptr<Kyr::Common::Kernel::IDeliveryContext>& GetDeliveryContext();

}  // namespace Kyr::Connectors::Common
