#include "connector/DeliveryContext.h"

#include <memory>

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

// Never destroyed, for the same reason.
const Context& EmptyContext() {
    static const auto& empty = *new Context();
    return empty;
}

}  // namespace

void SetDeliveryContext(const Context& context) {
    if (Slot().get() == nullptr) {
        auto own = std::make_unique<Context>();
        Slot().reset(own.get());
        // Not before: a slot that cannot be made does not take it.
        static_cast<void>(own.release());
    }
    *Slot() = context;
}

const Context& GetDeliveryContext() {
    const Context* const own = Slot().get();
    return own != nullptr ? *own : EmptyContext();
}

}  // namespace Kyr::Connectors::Common
