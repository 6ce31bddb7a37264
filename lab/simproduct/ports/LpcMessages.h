// Messages of the legacy port as bytes: what a request says, and what a reply must look like.
//
// A request, counted from the end of the port message header:
//     0   u32  command
//     4   u32  flags; bit 0: no reply is wanted
//     8   u32  reply capacity
//     12       a small message: the payload
//              a large one: the data-information block with two entries (the client's request
//              buffer and its reply buffer) and, when the payload is short enough, the payload
//              behind it; entry 0 then is zero
// A reply: u32 result code, u32 reply length, the reply bytes when they fit a message; longer ones
// are written into the client's reply buffer (entry 1) before the reply is sent.
//
// Errors: CMalformed.
#pragma once

#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

/// What depends on the pointer width of the port's structures.
struct LpcLayout {
    std::size_t headerSize;
    std::size_t entriesOffset;      // in the data-information block
    std::size_t entrySize;          // of one data entry
    std::size_t entryLengthOffset;  // in a data entry
    std::size_t maxInlineReply;     // what fits a message of this width
};

constexpr LpcLayout kLpcLayout32{24, 4, 8, 4, 296};
constexpr LpcLayout kLpcLayout64{40, 8, 16, 8, 600};

struct LpcRequest {
    std::uint32_t command = 0;
    std::uint32_t flags = 0;
    std::uint32_t replyCapacity = 0;
    Bytes payload;  // empty when it must be fetched through entry 0
    bool isLarge = false;
    std::uint32_t requestEntryLength = 0;  // 0: the payload is in the message
    std::uint32_t replyEntryLength = 0;
};

LpcRequest DecodeLpcRequest(const LpcLayout& layout, const Bytes& message);

/// A reply message. Its header repeats the ids of the request's, which name the waiting client.
/// REQUIRES: `inlineReply` fits the layout; `request` has passed DecodeLpcRequest.
Bytes EncodeLpcReply(const LpcLayout& layout, const Bytes& request, std::uint32_t result,
                     std::uint32_t replyLength, const Bytes& inlineReply);

}  // namespace Kyr::Lab::SimProduct
