#include "lab/simproduct/ports/PortMessages.h"

#include "ntapi/PortMessage.h"

namespace Kyr::Lab::SimProduct {

namespace {

/// Where the message ends by what its header says of it.
std::size_t EndOf(const Bytes& message, std::size_t headerSize) {
    const std::size_t end = headerSize + ReadU16(message, NtApi::kDataLengthOffset);
    Require(ReadU16(message, NtApi::kTotalLengthOffset) == end,
            "the message's two lengths do not agree");
    Require(end <= message.size(), "the message is shorter than it says");
    return end;
}

}  // namespace

PortRequest DecodeAlpcRequest(const Bytes& message) {
    constexpr std::size_t kPayloadOffset = kAlpcHeaderSize + 16;
    const std::size_t end = EndOf(message, kAlpcHeaderSize);
    Require(end >= kPayloadOffset, "the message is too short");
    PortRequest request;
    request.transport = Transport::kAlpc;
    request.command = ReadU32(message, kAlpcHeaderSize);
    request.replyCapacity = ReadU32(message, kAlpcHeaderSize + 12);
    const std::uint32_t length = ReadU32(message, kAlpcHeaderSize + 8);
    request.lengthElsewhere = length > kAlpcMaxInlineRequest ? length : 0;
    const std::size_t inlineLength = length - request.lengthElsewhere;
    Require(end - kPayloadOffset == inlineLength, "the payload's length is not the request length");
    request.payload = ReadBytes(message, kPayloadOffset, inlineLength);
    return request;
}

PortRequest DecodeLpcRequest(const LpcLayout& layout, const Bytes& message) {
    const std::size_t end = EndOf(message, layout.headerSize);
    PortRequest request;
    request.transport = Transport::kLpc;
    request.command = ReadU32(message, layout.headerSize);
    request.replyCapacity = ReadU32(message, layout.headerSize + 8);

    std::size_t payload = layout.headerSize + 12;
    const std::size_t block = ReadU16(message, NtApi::kDataInfoOffset);
    if (block != 0) {
        Require(block == payload, "the data-information block stands elsewhere");
        Require(ReadU32(message, block) == 2, "two data entries expected");
        const std::size_t entries = block + layout.entriesOffset;
        request.lengthElsewhere = ReadU32(message, entries + layout.entryLengthOffset);
        request.replyBuffer =
            ReadU32(message, entries + layout.entrySize + layout.entryLengthOffset);
        payload = entries + 2 * layout.entrySize;
    }
    Require(payload <= end, "the message ends before its payload");
    request.payload = ReadBytes(message, payload, end - payload);
    Require(request.lengthElsewhere == 0 || request.payload.empty(), "the payload comes twice");
    return request;
}

Bytes EncodePortReply(std::size_t headerSize, const Bytes& request, std::uint32_t result,
                      std::uint32_t replyLength, const Bytes& inlineReply) {
    Bytes reply = ReadBytes(request, 0, headerSize);
    AppendU32(reply, result);
    AppendU32(reply, replyLength);
    reply.insert(reply.end(), inlineReply.begin(), inlineReply.end());
    WriteU16(reply, NtApi::kDataLengthOffset,
             static_cast<std::uint16_t>(reply.size() - headerSize));
    WriteU16(reply, NtApi::kTotalLengthOffset, static_cast<std::uint16_t>(reply.size()));
    WriteU16(reply, NtApi::kTypeOffset, NtApi::kLpcReply);
    WriteU16(reply, NtApi::kDataInfoOffset, 0);
    return reply;
}

}  // namespace Kyr::Lab::SimProduct
