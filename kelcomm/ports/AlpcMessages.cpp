#include "kelcomm/ports/AlpcMessages.h"

#include <cstring>

#include "base/LittleEndian.h"
#include "kelcomm/client/KelcommConnection.h"

namespace Kyr::Connectors::Common::Kelcomm::Alpc {

namespace {

using Base::LoadLittleEndian;
using Base::StoreLittleEndian;

// What the port may use is the product's to limit: a long request must not fail on our side first.
constexpr std::uint32_t kUnlimited = 0xFFFFFFFF;

/// A header of zeros but for its two lengths.
void StoreHeader(std::uint8_t* message, std::size_t dataLength) {
    std::memset(message, 0, Port::kHeaderSize);
    StoreLittleEndian(message + NtApi::kDataLengthOffset, static_cast<std::uint16_t>(dataLength));
    StoreLittleEndian(message + NtApi::kTotalLengthOffset,
                      static_cast<std::uint16_t>(dataLength + Port::kHeaderSize));
}

}  // namespace

void BuildConnectionMessage(std::uint8_t (&message)[kConnectionMessageSize]) {
    StoreHeader(message, kConnectionMessageSize - Port::kHeaderSize);
    std::uint8_t* const data = message + Port::kHeaderSize;
    std::memcpy(data, kKelcommMagic, kKelcommMagicSize);
    StoreLittleEndian(data + kKelcommMagicSize, kKelcommVersion);
    StoreLittleEndian(data + kKelcommMagicSize + 4, kMaxInlineReply);
}

NtApi::AlpcPortAttributes PortAttributes(bool runsAsLocalSystem) {
    // A server may act in the name of whoever lets it. The system's own account lets itself be
    // recognised and no more: whoever has taken the port's name would else have the whole computer.
    // Other callers lend no more than they have.
    NtApi::AlpcPortAttributes attributes{};
    attributes.Flags = runsAsLocalSystem ? 0 : NtApi::kAlpcPortAllowImpersonation;
    attributes.SecurityQos.Length = sizeof(attributes.SecurityQos);
    attributes.SecurityQos.ImpersonationLevel =
        runsAsLocalSystem ? NtApi::kSecurityIdentification : NtApi::kSecurityImpersonation;
    attributes.SecurityQos.ContextTrackingMode = NtApi::kSecurityDynamicTracking;
    attributes.MaxMessageLength = kMaxMessage;
    attributes.MaxPoolUsage = kUnlimited;
    attributes.MaxSectionSize = kUnlimited;
    attributes.MaxViewSize = kUnlimited;
    attributes.MaxTotalSectionSize = kUnlimited;
    return attributes;
}

void BuildRequest(std::uint8_t* message, const Request& request) {
    // A longer payload stands in the view; the message is then its head alone, with the length.
    std::size_t end = kPayload;
    if (request.payloadLength != 0 && request.payloadLength <= kMaxInlinePayload) {
        std::memcpy(message + kPayload, request.payload, request.payloadLength);
        end += request.payloadLength;
    }
    StoreHeader(message, end - Port::kHeaderSize);
    StoreLittleEndian(message + kCommand, request.command);
    StoreLittleEndian(message + kGrowable, std::uint32_t{request.growable});
    StoreLittleEndian(message + kRequestLength, request.payloadLength);
    StoreLittleEndian(message + kReplyCapacity, request.replyCapacity);
}

void ClearReply(std::uint8_t* message) {
    std::memset(message, 0, kReply);
}

std::uint16_t MessageType(const std::uint8_t* message) {
    return LoadLittleEndian<std::uint16_t>(message + NtApi::kTypeOffset);
}

bool ParseReply(const std::uint8_t* message, ReplyHead& head) {
    const std::uint32_t dataLength =
        LoadLittleEndian<std::uint16_t>(message + NtApi::kDataLengthOffset);
    const std::uint32_t totalLength =
        LoadLittleEndian<std::uint16_t>(message + NtApi::kTotalLengthOffset);
    constexpr std::uint32_t kHeadSize = kReply - kResult;
    if (dataLength < kHeadSize || totalLength > kMaxMessage ||
        totalLength != dataLength + Port::kHeaderSize) {
        return false;
    }
    // The message's own lengths agree, so that the fields below have been received. Whether
    // the reply has, is for the caller to decide by `inlineBytes`.
    head.result = LoadLittleEndian<std::uint32_t>(message + kResult);
    head.length = LoadLittleEndian<std::uint32_t>(message + kReplyLength);
    head.inlineBytes = dataLength - kHeadSize;
    return true;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Alpc
