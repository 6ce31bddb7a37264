// Checks XML text before it is parsed: the parser recurses once for each open element and makes a
// tree that takes a hundred times its text, so that text made for it would use up the thread's
// stack or the memory. It has no limits of its own.
//
// Threads: any. Errors: none.
#pragma once

#include <cstddef>
#include <limits>
#include <string>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

struct XmlLimits {
    int depth = std::numeric_limits<int>::max();
    std::size_t elements = std::numeric_limits<std::size_t>::max();
    /// Of the tree: elements, attributes, what holds an element's attributes, comments.
    std::size_t nodes = std::numeric_limits<std::size_t>::max();
};

enum class XmlExcess { kNone, kDepth, kElements, kNodes };

/// The first of the limits that what the parser would read of `text` goes beyond. Malformed text
/// counts up to where the parser gives up.
XmlExcess FindExcess(const std::string& text, const XmlLimits& limits);

/// True when more than `limit` elements stand open at one point.
bool NestsDeeperThan(const std::string& text, int limit);

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
