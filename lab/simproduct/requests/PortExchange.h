// A request as it came through a port, whichever port it was, and what the product answers, in two
// layers: the reply with its own header, and how that reply is handed to the port.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

enum class Transport { kLpc, kAlpc };

constexpr const char* NameOf(Transport transport) {
    return transport == Transport::kLpc ? "lpc" : "alpc";
}

// Kelcomm commands (protocol).
constexpr std::uint32_t kPingCommand = 0;
constexpr std::uint32_t kRequestCommand = 3;

struct PortRequest {
    Transport transport = Transport::kLpc;
    std::uint32_t command = 0;
    std::uint32_t replyCapacity = 0;
    bool wantsReply = true;
    Bytes payload;
    std::uint32_t lengthElsewhere = 0;         // of a payload that did not come in the message
    std::optional<std::uint32_t> replyBuffer;  // legacy port: room for a long reply at the client
};

// Statuses of the reply header. The first two have a meaning for every client (protocol); the
// others are errors whose numbers are this simulator's own choice.
constexpr std::uint32_t kStatusDone = 0;
constexpr std::uint32_t kStatusBufferTooSmall = 5;
constexpr std::uint32_t kStatusUnknownCommand = 1;
constexpr std::uint32_t kStatusMalformedRequest = 2;
constexpr std::uint32_t kStatusUnknownFunction = 3;

// Result codes of the port reply. Success is the protocol's; the others are read as failures.
constexpr std::uint32_t kCodeDone = 0;
constexpr std::uint32_t kCodeMalformed = 1;
constexpr std::uint32_t kCodeUnknownCommand = 3;
constexpr std::uint32_t kCodeDoesNotFit = 6;

/// The reply to a request command.
struct InnerReply {
    std::uint32_t status = kStatusDone;
    Bytes payload;
};

/// A reply without payload that says why nothing was done.
inline InnerReply ErrorReply(std::uint32_t status) {
    return {status, {}};
}

/// u32 12 (this header's size), u32 status, u32 the payload's length, then the payload.
Bytes EncodeReply(const InnerReply& reply);

/// What a server does about a request.
struct PortAnswer {
    enum class Delivery { kReply, kDrop, kHang };

    Delivery delivery = Delivery::kReply;
    std::uint32_t code = kCodeDone;
    Bytes bytes;
    std::optional<std::uint32_t> announcedLength;  // nothing: the length of `bytes`
    bool withoutView = false;                      // advanced port: a long reply without its view
    bool smallView = false;                        // advanced port: a view shorter than announced
    std::string problem;                           // for people: why the body was not understood

    std::uint32_t AnnouncedLength() const {
        return announcedLength.value_or(static_cast<std::uint32_t>(bytes.size()));
    }
};

}  // namespace Kyr::Lab::SimProduct
