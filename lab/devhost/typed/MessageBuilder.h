// Builds from the words of a command what the server, the module itself or another module of the
// host would send. All of it is read-only when it is returned.
//
// Threads: any. Errors: std::invalid_argument with a text for the person who typed the command; a
// policy's file that cannot be read is a std::runtime_error.
#pragma once

#include <boost/shared_ptr.hpp>

#include "host/kernel/IMessage.h"
#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

using MessagePointer = boost::shared_ptr<Common::Kernel::IMessage>;

/// A task from `pid=<number> [sha1=<text>] [sha256=<text>] [ids=<a>,<b>,<c>]`.
MessagePointer BuildKillTask(CCommandWords& words);

/// A task from `[sha256=<text>] [sha1=<text>] [delete=0|1] [ids=<a>,<b>,<c>]`.
MessagePointer BuildBlockTask(CCommandWords& words);

/// A request for the product's configuration, which reports its outcome as a task does. From
/// `[type=<number>] [ids=<a>,<b>,<c>]`; without a type it is for no product at all.
MessagePointer BuildConfigurationRequest(CCommandWords& words);

/// A policy: the text in its protobuf message, compressed by zlib, in a blob that states the
/// length. From `file=<path>` or `text=<text>`, and
/// `[repeat=<n>]`: the text stands there so often, up to 64 MiB of it,
/// `[length=<n>]`: that length is stated, whatever the true one is;
/// `[broken=blob]`: the message carries bytes that are no blob,
/// `[broken=stream]`: the compressed data does not inflate,
/// `[broken=policy]`: what it inflates to is no policy message.
MessagePointer BuildPolicy(CCommandWords& words);

/// From `kind=<number>`, of any kind, known or not.
MessagePointer BuildTrigger(CCommandWords& words);

/// A reply of the host's request/response scheme, from `[type=688|1] [request=<number>] [alien]`:
/// by default one of type 688 to request 0; with `alien` a message of that type that is no reply.
MessagePointer BuildReply(CCommandWords& words);

}  // namespace Kyr::Lab::DevHost
