// The messages of the product's advanced port, as offsets, and what a connection is opened with.
//
// Advanced ports use the 24-byte header in every process that this client runs in. Messages are
// built byte by byte, little-endian.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ntapi/Alpc.h"
#include "ntapi/PortMessage.h"

namespace Kyr::Connectors::Common::Kelcomm::Alpc {

using Port = NtApi::PortMessageLayout<std::uint32_t>;

/// The longest message of this connection, announced to the port.
constexpr std::uint32_t kMaxMessage = 0xFFEF;

// Request: header, command, whether the reply goes to a growable buffer, request length, reply
// capacity, then the payload unless it travels in a view.
constexpr std::size_t kCommand = Port::kHeaderSize;
constexpr std::size_t kGrowable = kCommand + 4;
constexpr std::size_t kRequestLength = kCommand + 8;
constexpr std::size_t kReplyCapacity = kCommand + 12;
constexpr std::size_t kPayload = kCommand + 16;
constexpr std::uint32_t kMaxInlinePayload = kMaxMessage - kPayload;
// Reply: header, result code, reply length, then the reply unless it comes in a view.
constexpr std::size_t kResult = Port::kHeaderSize;
constexpr std::size_t kReplyLength = kResult + 4;
constexpr std::size_t kReply = kResult + 8;
constexpr std::uint32_t kMaxInlineReply = kMaxMessage - kReply;
// Connection message: header, magic, version, largest inline reply.
constexpr std::size_t kConnectionMessageSize = Port::kHeaderSize + 16;

static_assert(kCommand == 24 && kGrowable == 28 && kRequestLength == 32 && kReplyCapacity == 36);
static_assert(kPayload == 40 && kMaxInlinePayload == 0xFFC7);
static_assert(kReplyLength == 28 && kReply == 32 && kMaxInlineReply == 0xFFCF);
static_assert(kConnectionMessageSize == 40);

/// What a request message says.
struct Request {
    std::uint32_t command;
    const void* payload;
    std::uint32_t payloadLength;
    std::uint32_t replyCapacity;  // 0 when no reply is wanted
    bool growable;
};

/// What the server sees first: who we are and how long a reply may be inside a message.
void BuildConnectionMessage(std::uint8_t (&message)[kConnectionMessageSize]);
/// The limits of a connection, and how much of our identity the server may take on.
NtApi::AlpcPortAttributes PortAttributes(bool runsAsLocalSystem);
/// Writes the request; a payload longer than kMaxInlinePayload is left to its view.
/// REQUIRES: `message` has kMaxMessage bytes.
void BuildRequest(std::uint8_t* message, const Request& request);

/// A reply as its header and first fields say it is.
struct ReplyHead {
    std::uint32_t result;
    std::uint32_t length;
    std::uint32_t inlineBytes;  // reply bytes that the message really holds
};

/// Marks `message` as holding nothing, so that a port that writes nothing leaves a malformed reply.
void ClearReply(std::uint8_t* message);
/// The system's type word: the kind in its low byte, flags above it.
std::uint16_t MessageType(const std::uint8_t* message);
/// False when the message is too short for a result code and a length, or its lengths disagree.
bool ParseReply(const std::uint8_t* message, ReplyHead& head);

}  // namespace Kyr::Connectors::Common::Kelcomm::Alpc
