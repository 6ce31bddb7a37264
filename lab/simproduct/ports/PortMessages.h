// Messages of both ports as bytes: what a request says, and what a reply must look like.
//
// A request of the advanced port, counted from the end of the port message header, which always is
// the one of 32-bit structures:
//     0   u32  command
//     4   u8   1: the client can take a reply of any length; three bytes without meaning
//     8   u32  request length
//     12  u32  reply capacity
//     16       the payload, unless it came in a view
// One of the legacy port:
//     0   u32  command
//     4   u32  flags; bit 0: no reply is wanted
//     8   u32  reply capacity
//     12       a small message: the payload
//              a large one: the data-information block with two entries (the client's request
//              buffer and its reply buffer) and, when the payload is short enough, the payload
//              behind it; entry 0 then is zero
// A reply of both: u32 result code, u32 reply length, the reply bytes when they fit a message.
// Longer ones go in a view (advanced port), or are written into the client's reply buffer (entry 1)
// before the reply is sent.
//
// Errors: CMalformed.
#pragma once

#include "lab/simproduct/requests/PortExchange.h"

namespace Kyr::Lab::SimProduct {

/// Size of the advanced port's message header.
constexpr std::size_t kAlpcHeaderSize = 24;
/// The longest message that a client of this protocol can receive, header included (protocol).
constexpr std::size_t kAlpcMaxMessage = 0xFFEF;
/// Longer payloads come in a view (protocol).
constexpr std::size_t kAlpcMaxInlineRequest = 0xFFC7;
/// Longer replies go in a view (protocol).
constexpr std::size_t kAlpcMaxInlineReply = 0xFFCF;

/// A payload elsewhere is in a view.
PortRequest DecodeAlpcRequest(const Bytes& message);

/// What depends on the pointer width of the legacy port's structures.
struct LpcLayout {
    std::size_t headerSize;
    std::size_t entriesOffset;      // in the data-information block
    std::size_t entrySize;          // of one data entry
    std::size_t entryLengthOffset;  // in a data entry
    std::size_t maxInlineReply;     // what fits a message of this width
};

constexpr LpcLayout kLpcLayout32{24, 4, 8, 4, 296};
constexpr LpcLayout kLpcLayout64{40, 8, 16, 8, 600};

/// A payload elsewhere must be fetched through entry 0.
PortRequest DecodeLpcRequest(const LpcLayout& layout, const Bytes& message);

/// A reply message. Its header repeats the ids of the request's, which name the waiting client.
/// REQUIRES: `inlineReply` fits a message; `request` could be decoded.
Bytes EncodePortReply(std::size_t headerSize, const Bytes& request, std::uint32_t result,
                      std::uint32_t replyLength, const Bytes& inlineReply);

}  // namespace Kyr::Lab::SimProduct
