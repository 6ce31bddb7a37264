#include "lab/simproduct/requests/InnerRequest.h"

#include <algorithm>
#include <sstream>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

constexpr std::uint32_t kHeaderSize = 12;
constexpr std::uint32_t kMarker = 0x01000600;

// Our own choice; the protocol's requests have a dozen.
constexpr std::ptrdiff_t kMostTags = 256;

/// The parser recurses once for each open element, and each begins with "<": text made to nest
/// would use up the thread's stack.
void RequireFewTags(const Bytes& body) {
    if (std::count(body.begin(), body.end(), '<') > kMostTags) {
        throw CMalformed("the request's XML has more than 256 tags");
    }
}

}  // namespace

InnerRequest DecodeInnerRequest(const Bytes& payload) {
    if (ReadU32(payload, 0) != kHeaderSize) {
        throw CMalformed("the request header's size is not 12");
    }
    if (ReadU32(payload, 4) != kMarker) {
        throw CMalformed("the request header's marker is wrong");
    }
    return {ReadU32(payload, 8), ReadBytes(payload, kHeaderSize, payload.size() - kHeaderSize)};
}

std::optional<std::string> XmlCall::Find(const std::string& name) const {
    for (const XmlNode& node : nodes) {
        if (node.name == name) {
            return node.value;
        }
    }
    return std::nullopt;
}

XmlCall ParseXmlRequest(const Bytes& body) {
    namespace pt = boost::property_tree;
    RequireFewTags(body);
    XmlCall request;
    try {
        std::istringstream text(std::string(body.begin(), body.end()));
        pt::ptree tree;
        pt::read_xml(text, tree);
        const pt::ptree& element = tree.get_child("TULK.MESSAGE.REQUEST");
        request.function = element.get<std::string>("<xmlattr>.FUNCTION");
        const pt::ptree none;
        for (const auto& [name, child] : element.get_child("DATA", none)) {
            if (name == "NODE") {
                request.nodes.push_back({child.get<std::string>("<xmlattr>.NAME"),
                                         child.get<std::string>("<xmlattr>.TYPE", ""),
                                         child.get<std::string>("<xmlattr>.VALUE")});
            }
        }
    } catch (const pt::ptree_error& error) {
        throw CMalformed(std::string("the request's XML: ") + error.what());
    }
    return request;
}

}  // namespace Kyr::Lab::SimProduct
