// The messages of legacy ports in one pointer width, as offsets, and the state of a connection.
//
// T is std::uint32_t for 32-bit structures and std::uint64_t for 64-bit ones; the width is chosen
// at run time, so every build holds both. Messages are built byte by byte, little-endian. In a
// process whose pointers are wider than T the entry addresses are cut off. Where native ports are
// real, that does not happen: on Windows the library is built for 32 bits only, and the port layer
// says of a 64-bit process that it needs the 64-bit structures.
//
// A message is small when payload and reply fit beside each other into what the system passes by
// value. Otherwise it is large: it carries a block with the addresses of both buffers, by which the
// server reads the one and writes the other while the sender waits.
// Threads and ownership: the class of the client that derives from it. Errors: none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "kelcomm/native/Handle.h"
#include "kelcomm/ports/KelcommWaitPool.h"
#include "ntapi/PortMessage.h"
#include "ntapi/Types.h"

namespace Kyr::Connectors::Common::Kelcomm {

template <typename T>
class CKelcommStructsNt {
  public:
    using Port = NtApi::PortMessageLayout<T>;

    // Request: header, command, flags, reply capacity, then either the payload (small message) or
    // the data-information block with two entries and, when it fits, the payload (large message).
    static constexpr std::size_t kCommand = Port::kHeaderSize;
    static constexpr std::size_t kFlags = kCommand + 4;
    static constexpr std::size_t kReplyCapacity = kCommand + 8;
    static constexpr std::size_t kSmallPayload = kCommand + 12;
    static constexpr std::size_t kDataInfo = kSmallPayload;
    static constexpr std::size_t kRequestEntry = kDataInfo + Port::kDataEntries;
    static constexpr std::size_t kReplyEntry = kRequestEntry + Port::kDataEntrySize;
    static constexpr std::size_t kLargePayload = kReplyEntry + Port::kDataEntrySize;
    // Reply: header, result code, reply length, then the reply when it fits.
    static constexpr std::size_t kResult = Port::kHeaderSize;
    static constexpr std::size_t kReplyLength = kResult + 4;
    static constexpr std::size_t kReply = kResult + 8;

    static constexpr std::uint32_t kMaxSmallPayload = Port::kMaxMessage - kSmallPayload;
    static constexpr std::uint32_t kMaxSmallReply = Port::kMaxMessage - kReply;
    static constexpr std::uint32_t kMaxInlinePayload = Port::kMaxMessage - kLargePayload;

    /// A message of a legacy port; alignment as the system's own structures have it.
    struct Message {
        alignas(8) std::uint8_t bytes[Port::kMaxMessage];
    };

    /// What a message is to carry. A one-way request has no capacity.
    struct Request {
        std::uint32_t flags;
        std::uint32_t command;
        const void* payload;
        std::uint32_t payloadLength;
        void* reply;
        std::uint32_t replyCapacity;
    };

    /// True when the payload or the reply capacity needs the data-information block.
    static bool IsLarge(const Request& request) {
        return request.payloadLength > kMaxSmallPayload || request.replyCapacity > kMaxSmallReply;
    }
    /// Writes all of `message` that is sent; what lies behind stays as it is. REQUIRES: payload and
    /// reply buffer stay valid until the exchange is over, since a large message names them.
    static void BuildRequest(Message& message, const Request& request);
    /// Announces the room for a reply; the reply's own fields are zero.
    static void PrepareReply(Message& reply);

  protected:
    // The connection, kept here as the product family has it. Ids, options and pool belong to the
    // one thread that uses the client. The port is read and written with the client's critical
    // section held; no annotation can say so, since that is a member of the client's other base.
    std::uint32_t clientId_ = 0;
    std::uint32_t serverId_ = 0;
    std::uint32_t options_ = 0;
    Native::CHandle port_;  // holds nothing while not connected
    std::unique_ptr<CKelcommWaitPool> waitPool_;
};

using Structs32 = CKelcommStructsNt<std::uint32_t>;
using Structs64 = CKelcommStructsNt<std::uint64_t>;

static_assert(Structs32::kCommand == 24 && Structs64::kCommand == 40);
static_assert(Structs32::kFlags == 28 && Structs64::kFlags == 44);
static_assert(Structs32::kReplyCapacity == 32 && Structs64::kReplyCapacity == 48);
static_assert(Structs32::kSmallPayload == 36 && Structs64::kSmallPayload == 52);
static_assert(Structs32::kDataInfo == 36 && Structs64::kDataInfo == 52);
static_assert(Structs32::kRequestEntry == 40 && Structs64::kRequestEntry == 60);
static_assert(Structs32::kReplyEntry == 48 && Structs64::kReplyEntry == 76);
static_assert(Structs32::kLargePayload == 56 && Structs64::kLargePayload == 92);
static_assert(Structs32::kReply == 32 && Structs64::kReply == 48);
static_assert(Structs32::kMaxSmallPayload == 292 && Structs64::kMaxSmallPayload == 596);
static_assert(Structs32::kMaxSmallReply == 296 && Structs64::kMaxSmallReply == 600);
static_assert(Structs32::kMaxInlinePayload == 272 && Structs64::kMaxInlinePayload == 556);
static_assert(sizeof(Structs32::Message) == 328 && sizeof(Structs64::Message) == 648);

extern template class CKelcommStructsNt<std::uint32_t>;
extern template class CKelcommStructsNt<std::uint64_t>;

}  // namespace Kyr::Connectors::Common::Kelcomm
