// XML replies as a tree: attributes under "<xmlattr>", paths with "." between the names.
//
// Malformed text, missing paths and missing mandatory attributes throw the property tree's own
// exceptions (all std::runtime_error), which pass to the task unchanged.
// Threads: any; a CHexReader belongs to one at a time, nothing else has a state.
#pragma once

#include <cstdint>
#include <optional>
#include <sstream>
#include <string>

#include <boost/property_tree/ptree.hpp>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

/// Parses `text`; an empty text is an empty tree. Text that nests deeper than 256 elements, or has
/// more than 250,000, is refused like malformed text: the parser would use up the stack, or the
/// memory. So is text with so many attributes and comments that they would.
boost::property_tree::ptree ParseXml(const std::string& text);

/// The text of the mandatory attribute `name`.
std::string ReadAttribute(const boost::property_tree::ptree& element, const std::string& name);
/// The text of an attribute that may be absent.
std::optional<std::string> FindAttribute(const boost::property_tree::ptree& element,
                                         const std::string& name);

/// Reads numbers in hexadecimal, as a stream extracts them in the classic locale: leading blanks
/// are skipped, what follows the digits is ignored, no digits give 0, too many give the type's
/// limit. One for many numbers: a stream costs more to make than to use.
class CHexReader {
  public:
    CHexReader();

    std::uint32_t Read32(const std::string& text);
    std::int64_t Read64(const std::string& text);

  private:
    template <typename Number>
    Number Read(const std::string& text);

    std::istringstream stream_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
