// What is looked over before a parser gets it: the scanners of XML and of protobuf's encoding must
// see what the parsers see.
//
// An input is one byte that says which of the two, one byte that is the limit, and the text or the
// payload.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <google/protobuf/empty.pb.h>
#include <google/protobuf/unknown_field_set.h>
#include <sstream>
#include <string>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include "kelcomm/messages/ProtobufFields.h"
#include "kelcomm/messages/XmlNesting.h"

namespace {

using namespace Kyr::Connectors::Common::Kelcomm::Messages;
using boost::property_tree::ptree;
using google::protobuf::UnknownField;
using google::protobuf::UnknownFieldSet;

constexpr std::size_t kMostBytes = 4096;  // a tree of so many does not reach the end of the stack

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

struct Tree {
    int depth = 0;
    std::size_t elements = 0;
    std::size_t nodes = 0;
};

void Measure(const ptree& parent, int depth, Tree& tree) {
    for (const auto& [name, child] : parent) {
        ++tree.nodes;
        if (name == "<xmlattr>") {
            tree.nodes += child.size();
        } else if (name != "<xmlcomment>") {
            ++tree.elements;
            tree.depth = std::max(tree.depth, depth + 1);
            Measure(child, depth + 1, tree);
        }
    }
}

void CheckXml(const std::string& text, std::size_t limit) {
    XmlLimits unlimited;
    Require(FindExcess(text, unlimited) == XmlExcess::kNone);
    XmlLimits depth;
    depth.depth = static_cast<int>(limit);
    XmlLimits elements;
    elements.elements = limit;
    XmlLimits nodes;
    nodes.nodes = limit;
    const bool tooDeep = FindExcess(text, depth) == XmlExcess::kDepth;
    const bool tooMany = FindExcess(text, elements) == XmlExcess::kElements;
    const bool tooWide = FindExcess(text, nodes) == XmlExcess::kNodes;
    if (NestsDeeperThan(text, 100)) {
        return;  // the parser would use the stack up
    }
    ptree parsed;
    try {
        std::istringstream stream(text);
        read_xml(stream, parsed);
    } catch (const boost::property_tree::xml_parser_error&) {
        return;  // what of it was counted does not matter
    }
    Tree tree;
    Measure(parsed, 0, tree);
    // An element that its own tag closes is no step down, and looks in the tree like one that is.
    Require(tooDeep ? tree.depth > depth.depth : tree.depth <= depth.depth + 1);
    Require(tooMany == (tree.elements > limit));
    Require(tooWide == (tree.nodes > limit));
}

/// As the scanner counts: the end of a group is a field, too.
std::size_t CountFields(const UnknownFieldSet& fields) {
    std::size_t count = 0;
    for (int index = 0; index < fields.field_count(); ++index) {
        const UnknownField& field = fields.field(index);
        count += field.type() == UnknownField::TYPE_GROUP ? 2 + CountFields(field.group()) : 1;
    }
    return count;
}

/// As a reply is parsed, to which all fields are unknown; an UnknownFieldSet by itself takes more.
bool Parse(std::string_view payload, UnknownFieldSet& fields) {
    google::protobuf::Empty message;
    const bool whole = message.ParseFromArray(payload.data(), static_cast<int>(payload.size()));
    fields.Swap(message.GetReflection()->MutableUnknownFields(&message));
    return whole;
}

void CheckProtobuf(std::string_view payload, std::size_t limit) {
    UnknownFieldSet fields;
    const bool whole = Parse(payload, fields);
    Require(!(whole && EndsEarly(payload)));
    for (const Records records : {Records::kTexts, Records::kMessages}) {
        const std::string_view first = FirstFields(payload, records, limit);
        Require(first.data() == payload.data() && first.size() <= payload.size());
        if (first.size() < payload.size()) {
            UnknownFieldSet some;
            Require(Parse(first, some));
            Require(CountFields(some) <= limit);
        } else if (whole && records == Records::kTexts) {
            Require(CountFields(fields) <= limit);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size > kMostBytes) {
        return 0;
    }
    const std::string rest(reinterpret_cast<const char*>(data) + 2, size - 2);
    if (data[0] % 2 == 0) {
        CheckXml(rest, data[1]);
    } else {
        CheckProtobuf(rest, data[1]);
    }
    return 0;
}
