#include "lab/simproduct/ports/AlpcMessages.h"

#include "ntapi/PortMessage.h"

namespace Kyr::Lab::SimProduct {

namespace {

constexpr std::size_t kPayloadOffset = kAlpcHeaderSize + 16;

}  // namespace

AlpcRequest DecodeAlpcRequest(const Bytes& message) {
    const std::size_t end = kAlpcHeaderSize + ReadU16(message, NtApi::kDataLengthOffset);
    if (ReadU16(message, NtApi::kTotalLengthOffset) != end) {
        throw CMalformed("the message's two lengths do not agree");
    }
    if (end > message.size() || end < kPayloadOffset) {
        throw CMalformed("the message is too short");
    }
    AlpcRequest request;
    request.command = ReadU32(message, kAlpcHeaderSize);
    request.growableReply = message[kAlpcHeaderSize + 4] != 0;
    request.requestLength = ReadU32(message, kAlpcHeaderSize + 8);
    request.replyCapacity = ReadU32(message, kAlpcHeaderSize + 12);
    request.payloadInView = request.requestLength > kAlpcMaxInlineRequest;
    const std::size_t inlineLength = request.payloadInView ? 0 : request.requestLength;
    if (end - kPayloadOffset != inlineLength) {
        throw CMalformed("the payload's length is not the request length");
    }
    request.payload = ReadBytes(message, kPayloadOffset, inlineLength);
    return request;
}

Bytes EncodeAlpcReply(const Bytes& request, std::uint32_t result, std::uint32_t replyLength,
                      const Bytes& inlineReply) {
    Bytes reply = ReadBytes(request, 0, kAlpcHeaderSize);
    AppendU32(reply, result);
    AppendU32(reply, replyLength);
    reply.insert(reply.end(), inlineReply.begin(), inlineReply.end());
    WriteU16(reply, NtApi::kDataLengthOffset,
             static_cast<std::uint16_t>(reply.size() - kAlpcHeaderSize));
    WriteU16(reply, NtApi::kTotalLengthOffset, static_cast<std::uint16_t>(reply.size()));
    WriteU16(reply, NtApi::kTypeOffset, NtApi::kLpcReply);
    WriteU16(reply, NtApi::kDataInfoOffset, 0);
    return reply;
}

}  // namespace Kyr::Lab::SimProduct
