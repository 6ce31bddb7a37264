// Recognises the triggers of the connectors that share the common tasks.
//
// Threads: the task thread.
#pragma once

#include <cstdint>

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"

namespace Kyr::Connectors::Common::Tasks {

/// Whether `message` is of the class `Trigger` and of this kind.
template <typename Trigger>
bool IsTriggerOf(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message,
                 std::int32_t kind) {
    const auto trigger = boost::dynamic_pointer_cast<Trigger>(message);
    return trigger && trigger->GetRequestType() == kind;
}

}  // namespace Kyr::Connectors::Common::Tasks
