// What a request command carries: the messages' own header, then a body that belongs to the inner
// command. XML bodies name a function and hold named nodes.
//
// Errors: CMalformed.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

/// The inner command of every XML request (protocol).
constexpr std::uint32_t kXmlCommand = 2;

struct XmlCall {
    std::string function;
    std::map<std::string, std::string> nodes;  // value by name; of two of a name the first

    std::optional<std::string> Find(const std::string& name) const;
};

struct InnerRequest {
    std::uint32_t command = 0;
    Bytes body;
    XmlCall xml = {};  // what the body of an XML request says, once it was parsed
};

/// Reads the header (u32 12, u32 0x01000600, u32 inner command); the rest is the body.
InnerRequest DecodeInnerRequest(const Bytes& payload);

/// Reads TULK / MESSAGE / REQUEST (FUNCTION) / DATA / NODE (NAME, VALUE). Elements that do not
/// belong there are passed over, and DATA may be missing. Text with more than 256 tags is refused
/// unread.
XmlCall ParseXmlRequest(const Bytes& body);

/// The text by which the management agent says which instance of it has connected. Reads records of
/// u32 tag, u32 length, value: one says 3, one is the UUID's text with its NUL; those of other tags
/// are passed over. What the text says is the sender's affair: it is no more than a name here.
std::string ParseAgentUuid(const Bytes& body);

}  // namespace Kyr::Lab::SimProduct
