#include "kelcomm/messages/XmlPayload.h"

#include <locale>
#include <sstream>

#include <boost/property_tree/xml_parser.hpp>

#include "kelcomm/messages/XmlNesting.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

namespace PropertyTree = boost::property_tree;

// The product's replies nest seven elements; our own limit for what a thread's stack surely bears.
constexpr int kDeepestNesting = 256;

template <typename Number>
Number ParseHex(const std::string& text) {
    // A stream reads as many digits as there are: what is behind them is not looked at, and without
    // any the number is 0.
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    Number number = 0;
    stream >> std::hex >> number;
    return number;
}

}  // namespace

PropertyTree::ptree ParseXml(const std::string& text) {
    if (NestsDeeperThan(text, kDeepestNesting)) {
        // The parser's own error: for whoever asked it is text that cannot be parsed.
        throw PropertyTree::xml_parser_error("elements nest too deep", "", 0);
    }
    std::istringstream stream(text);
    PropertyTree::ptree tree;
    PropertyTree::read_xml(stream, tree);
    return tree;
}

std::string ReadAttribute(const PropertyTree::ptree& element, const std::string& name) {
    return element.get_child("<xmlattr>." + name).data();
}

std::optional<std::string> FindAttribute(const PropertyTree::ptree& element,
                                         const std::string& name) {
    const auto attribute = element.get_child_optional("<xmlattr>." + name);
    return attribute ? std::optional<std::string>(attribute->data()) : std::nullopt;
}

std::uint32_t ParseHex32(const std::string& text) {
    return ParseHex<std::uint32_t>(text);
}

std::int64_t ParseHex64(const std::string& text) {
    return ParseHex<std::int64_t>(text);
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
