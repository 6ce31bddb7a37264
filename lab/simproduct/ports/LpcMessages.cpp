#include "lab/simproduct/ports/LpcMessages.h"

#include "ntapi/PortMessage.h"

namespace Kyr::Lab::SimProduct {

LpcRequest DecodeLpcRequest(const LpcLayout& layout, const Bytes& message) {
    const std::size_t dataLength = ReadU16(message, NtApi::kDataLengthOffset);
    const std::size_t end = layout.headerSize + dataLength;
    if (ReadU16(message, NtApi::kTotalLengthOffset) != end) {
        throw CMalformed("the message's two lengths do not agree");
    }
    if (end > message.size()) {
        throw CMalformed("the message is shorter than it says");
    }
    LpcRequest request;
    request.command = ReadU32(message, layout.headerSize);
    request.flags = ReadU32(message, layout.headerSize + 4);
    request.replyCapacity = ReadU32(message, layout.headerSize + 8);

    std::size_t payload = layout.headerSize + 12;
    const std::size_t block = ReadU16(message, NtApi::kDataInfoOffset);
    if (block != 0) {
        if (block != payload) {
            throw CMalformed("the data-information block stands at " + std::to_string(block));
        }
        if (ReadU32(message, block) != 2) {
            throw CMalformed("two data entries expected");
        }
        const std::size_t entries = block + layout.entriesOffset;
        request.isLarge = true;
        request.requestEntryLength = ReadU32(message, entries + layout.entryLengthOffset);
        request.replyEntryLength =
            ReadU32(message, entries + layout.entrySize + layout.entryLengthOffset);
        payload = entries + 2 * layout.entrySize;
    }
    if (payload > end) {
        throw CMalformed("the message ends before its payload");
    }
    request.payload = ReadBytes(message, payload, end - payload);
    if (request.requestEntryLength != 0 && !request.payload.empty()) {
        throw CMalformed("the payload comes twice");
    }
    return request;
}

Bytes EncodeLpcReply(const LpcLayout& layout, const Bytes& request, std::uint32_t result,
                     std::uint32_t replyLength, const Bytes& inlineReply) {
    Bytes reply = ReadBytes(request, 0, layout.headerSize);
    AppendU32(reply, result);
    AppendU32(reply, replyLength);
    reply.insert(reply.end(), inlineReply.begin(), inlineReply.end());
    WriteU16(reply, NtApi::kDataLengthOffset,
             static_cast<std::uint16_t>(reply.size() - layout.headerSize));
    WriteU16(reply, NtApi::kTotalLengthOffset, static_cast<std::uint16_t>(reply.size()));
    WriteU16(reply, NtApi::kTypeOffset, NtApi::kLpcReply);
    WriteU16(reply, NtApi::kDataInfoOffset, 0);
    return reply;
}

}  // namespace Kyr::Lab::SimProduct
