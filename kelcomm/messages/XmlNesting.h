// Checks XML text before it is parsed: the parser recurses once for each open element, so that
// text made to nest would use up the thread's stack. It has no limit of its own.
//
// Threads: any. Errors: none.
#pragma once

#include <string>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

/// True when more than `limit` elements stand open at one point of what the parser would read.
/// Malformed text counts up to where the parser gives up.
bool NestsDeeperThan(const std::string& text, int limit);

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
