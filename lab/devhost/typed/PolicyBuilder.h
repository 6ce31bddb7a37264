// Builds a policy from the words of a command: a text in its protobuf message, compressed by zlib,
// in a blob that states the length.
//
// Threads: any. Errors: std::invalid_argument with a text for the person who typed the command; a
// file that cannot be read is a std::runtime_error.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"
#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

/// From `file=<path>` or `text=<text>`, and
/// `[repeat=<n>]`: the text stands there so often, up to 64 MiB of it,
/// `[length=<n>]`: that length is stated, whatever the true one is;
/// `[broken=blob]`: the message carries bytes that are no blob,
/// `[broken=stream]`: the compressed data does not inflate,
/// `[broken=policy]`: what it inflates to is no policy message.
boost::shared_ptr<Common::Kernel::IMessage> BuildPolicy(CCommandWords& words);

}  // namespace Kyr::Lab::DevHost
