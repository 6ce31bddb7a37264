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

// Records in the body of the agent-UUID command (protocol).
constexpr std::uint32_t kKindTag = 0x00000104;
constexpr std::uint32_t kUuidTag = 0x00100002;
constexpr std::uint32_t kKind = 3;

}  // namespace

InnerRequest DecodeInnerRequest(const Bytes& payload) {
    Require(ReadU32(payload, 0) == kHeaderSize, "the request header's size is not 12");
    Require(ReadU32(payload, 4) == kMarker, "the request header's marker is wrong");
    return {ReadU32(payload, 8), ReadBytes(payload, kHeaderSize, payload.size() - kHeaderSize)};
}

std::optional<std::string> XmlCall::Find(const std::string& name) const {
    const auto found = nodes.find(name);
    return found == nodes.end() ? std::nullopt : std::optional(found->second);
}

XmlCall ParseXmlRequest(const Bytes& body) {
    namespace pt = boost::property_tree;
    // The parser recurses once for each open element, and each begins with "<": text made to nest
    // would use up the thread's stack.
    Require(std::count(body.begin(), body.end(), '<') <= kMostTags,
            "the request's XML has more than 256 tags");
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
                request.nodes.emplace(child.get<std::string>("<xmlattr>.NAME"),
                                      child.get<std::string>("<xmlattr>.VALUE"));
            }
        }
    } catch (const pt::ptree_error& error) {
        throw CMalformed(std::string("the request's XML: ") + error.what());
    }
    return request;
}

std::string ParseAgentUuid(const Bytes& body) {
    std::map<std::uint32_t, Bytes> records;
    std::size_t position = 0;
    while (position < body.size()) {
        const std::uint32_t length = ReadU32(body, position + 4);
        records[ReadU32(body, position)] = ReadBytes(body, position + 8, length);
        position += std::size_t{8} + length;
    }
    const Bytes& kind = records[kKindTag];
    Require(kind.size() == 4 && ReadU32(kind, 0) == kKind, "the record that says 3 is missing");
    const Bytes& uuid = records[kUuidTag];
    Require(!uuid.empty() && uuid.back() == 0, "the record with the UUID and its NUL is missing");
    return {uuid.begin(), uuid.end() - 1};
}

}  // namespace Kyr::Lab::SimProduct
