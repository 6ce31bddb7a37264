// Builds replies of the host's request/response scheme from the words of a command.
//
// Errors: std::invalid_argument with a text for the person who typed the command. Threads: any.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"
#include "lab/devhost/typed/CommandArguments.h"

namespace Kyr::Lab::DevHost {

/// From `[type=688|1] [request=<number>] [alien]`: by default a reply of type 688 to request 0;
/// with `alien` a message of that type that is no reply.
boost::shared_ptr<Common::Kernel::IMessage> BuildReply(CCommandArguments& arguments);

}  // namespace Kyr::Lab::DevHost
