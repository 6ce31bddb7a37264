// Messages of the advanced port as bytes: what a request says, and what a reply must look like.
// Their header always is the one of 32-bit structures.
//
// A request, counted from the end of the header:
//     0   u32  command
//     4   u8   1: the client can take a reply of any length; three bytes without meaning
//     8   u32  request length
//     12  u32  reply capacity
//     16       the payload, unless it came in a view
// A reply: u32 result code, u32 reply length, the reply bytes unless they go in a view.
//
// Errors: CMalformed.
#pragma once

#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

/// Size of the port message header.
constexpr std::size_t kAlpcHeaderSize = 24;
/// The longest message that a client of this protocol can receive, header included (protocol).
constexpr std::size_t kAlpcMaxMessage = 0xFFEF;
/// Longer payloads come in a view (protocol).
constexpr std::size_t kAlpcMaxInlineRequest = 0xFFC7;
/// Longer replies go in a view (protocol).
constexpr std::size_t kAlpcMaxInlineReply = 0xFFCF;

struct AlpcRequest {
    std::uint32_t command = 0;
    bool growableReply = false;
    std::uint32_t replyCapacity = 0;
    std::uint32_t requestLength = 0;
    bool payloadInView = false;
    Bytes payload;  // empty when it comes in a view
};

AlpcRequest DecodeAlpcRequest(const Bytes& message);

/// A reply message. Its header repeats the ids of the request's, which name the waiting client.
/// REQUIRES: `inlineReply` is at most kAlpcMaxInlineReply long; `request` has passed
/// DecodeAlpcRequest.
Bytes EncodeAlpcReply(const Bytes& request, std::uint32_t result, std::uint32_t replyLength,
                      const Bytes& inlineReply);

}  // namespace Kyr::Lab::SimProduct
