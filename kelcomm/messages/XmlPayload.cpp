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

// Our own limits, too, for what a tree of many small parts may take: an element without anything
// makes a hundred bytes out of each of its own. Beyond the elements come their attributes and
// comments, which take as much; the more text there is, the more of them it may have.
constexpr std::size_t kMostElements = 250000;
constexpr std::size_t kMostNodes = 250000;
constexpr std::size_t kTextOfFurtherNode = 32;

/// The parser's own error: for whoever asked it is text that cannot be parsed.
[[noreturn]] void Refuse(const char* why) {
    throw PropertyTree::xml_parser_error(why, "", 0);
}

void CheckLimits(const std::string& text) {
    switch (FindExcess(
        text, {kDeepestNesting, kMostElements, kMostNodes + text.size() / kTextOfFurtherNode})) {
        case XmlExcess::kDepth:
            Refuse("elements nest too deep");
        case XmlExcess::kElements:
            Refuse("too many elements");
        case XmlExcess::kNodes:
            Refuse("too many attributes and comments");
        case XmlExcess::kNone:
            break;
    }
}

/// Null when there is none. In two steps, since a path is dearer to build and to take apart than
/// both: a reply may have tens of thousands of attributes.
const std::string* AttributeText(const PropertyTree::ptree& element, const std::string& name) {
    const auto attributes = element.find("<xmlattr>");
    if (attributes == element.not_found()) {
        return nullptr;
    }
    const auto attribute = attributes->second.find(name);
    return attribute == attributes->second.not_found() ? nullptr : &attribute->second.data();
}

}  // namespace

PropertyTree::ptree ParseXml(const std::string& text) {
    CheckLimits(text);
    std::istringstream stream(text);
    PropertyTree::ptree tree;
    PropertyTree::read_xml(stream, tree);
    return tree;
}

std::string ReadAttribute(const PropertyTree::ptree& element, const std::string& name) {
    if (const std::string* const text = AttributeText(element, name)) {
        return *text;
    }
    // Throws, with the path in its text.
    return element.get_child("<xmlattr>." + name).data();
}

std::optional<std::string> FindAttribute(const PropertyTree::ptree& element,
                                         const std::string& name) {
    const std::string* const text = AttributeText(element, name);
    return text != nullptr ? std::optional<std::string>(*text) : std::nullopt;
}

CHexReader::CHexReader() {
    stream_.imbue(std::locale::classic());
    stream_ >> std::hex;
}

template <typename Number>
Number CHexReader::Read(const std::string& text) {
    // A stream reads as many digits as there are: what is behind them is not looked at, and without
    // any the number is 0.
    stream_.clear();
    stream_.str(text);
    Number number = 0;
    stream_ >> number;
    return number;
}

std::uint32_t CHexReader::Read32(const std::string& text) {
    return Read<std::uint32_t>(text);
}

std::int64_t CHexReader::Read64(const std::string& text) {
    return Read<std::int64_t>(text);
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
