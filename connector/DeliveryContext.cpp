#include "connector/DeliveryContext.h"

#include <boost/thread/tss.hpp>

namespace Kyr::Connectors::Common {

namespace {

using Context = boost::shared_ptr<Kyr::Common::Kernel::IDeliveryContext>;

// Never destroyed: the host's threads publish too, and may end after the process's exit handlers
// have begun to run.
boost::thread_specific_ptr<Context>& Slot() {
    static auto& slot = *new boost::thread_specific_ptr<Context>();
    return slot;
}

Context& Current() {
    if (Slot().get() == nullptr) {
        Slot().reset(new Context());
    }
    return *Slot();
}

}  // namespace

void SetDeliveryContext(const Context& context) {
    Current() = context;
}

const Context& GetDeliveryContext() {
    return Current();
}

}  // namespace Kyr::Connectors::Common
