// The packets that the two ends of a connection exchange over a SOCK_SEQPACKET socket.
//
// A packet is: the fixed head, the port message, one record for each transfer, and the bytes of the
// transfers that travel inside the packet. Descriptors of shared memory that the peer does not know
// yet are attached in this order: the view's, then the transfers'. Both ends are of one build on
// one machine, so the head is in native byte order. Everything in a received packet is checked
// before anything is used.
// Errors: statuses. A malformed packet ends the connection.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ntapi/PortMessage.h"
#include "portlayer/linux/DataBlock.h"
#include "portlayer/linux/Deadline.h"
#include "portlayer/linux/FileDescriptor.h"
#include "portlayer/linux/SharedPool.h"

namespace Kyr::PortLayer::Detail {

enum class EPacket : std::uint32_t {
    Connect = 1,   // client: connection request; `flags` is the dialect
    Accepted = 2,  // server: the connection message back; `flags` is its longest message
    Refused = 3,   // server
    Request = 4,   // client: waits for the Reply with the same exchange number
    Datagram = 5,  // client
    Reply = 6,     // server
    Fetch = 7,     // server: write data entry `fetchEntry` to the attached stream
};

struct CPacketHead {
    std::uint32_t magic;
    EPacket kind;
    std::uint32_t exchange;  // chosen by the client
    std::uint32_t flags;
    std::uint64_t freedSlots;
    std::uint32_t threadId;
    std::uint32_t messageLength;
    std::uint32_t transferCount;
    std::uint32_t inlineLength;
    std::uint32_t viewSlot;  // kNoSlot: no view
    std::uint32_t viewFlags;
    std::uint64_t viewSize;
    std::uint64_t viewSlotSize;  // not 0: a descriptor is attached
    std::uint32_t fetchEntry;
    std::uint32_t fetchSize;
};
static_assert(sizeof(CPacketHead) == 72, "no padding: the head is sent as it stands");

/// Bytes of one data entry, counted from the entry's base.
struct CTransferRecord {
    std::uint32_t entry;
    std::uint32_t slot;  // kNoSlot: the bytes are inside the packet
    std::uint64_t size;
    std::uint64_t slotSize;  // not 0: a descriptor is attached
};
static_assert(sizeof(CTransferRecord) == 24, "no padding");

// Our choice: transfers above this go through shared memory. Measured even with packets at 64 KiB.
constexpr std::size_t kMaxInlineTransfer = std::size_t{32} * 1024;
/// All inline transfers of a packet together.
constexpr std::size_t kMaxInline = std::size_t{64} * 1024;
constexpr std::size_t kMaxDescriptors = kMaxDataEntries + 1;
/// Fits the default send buffer of a socket.
constexpr std::size_t kMaxPacket = sizeof(CPacketHead) + NtApi::kAlpcMaxMessage +
                                   kMaxDataEntries * sizeof(CTransferRecord) + kMaxInline;

/// A view that came with a message; held until its slot is freed.
struct CReceivedView {
    std::uint32_t slot = kNoSlot;
    const std::uint8_t* base = nullptr;
    std::size_t size = 0;
    std::uint32_t flags = 0;
};

/// Flag of a request or reply packet: the receiver has to release the message.
constexpr std::uint32_t kPacketContinuation = 1;

/// A packet to send. Pointers are borrowed until SendPacket returns.
struct COutgoingPacket {
    struct Transfer {
        std::uint32_t entry;
        std::uint32_t slot;
        const void* bytes;  // inline
        std::size_t size;
    };

    CPacketHead head = {};
    const void* message = nullptr;                    // head.messageLength bytes
    std::array<Transfer, kMaxDataEntries> transfers;  // the first transferCount are set
    std::size_t transferCount = 0;
    int stream = -1;  // for Fetch

    explicit COutgoingPacket(EPacket kind);
    void SetMessage(const void* bytes, std::size_t length);
    void SetView(std::uint32_t slot, std::size_t size, std::uint32_t flags);
    void AddInline(std::uint32_t entry, const void* bytes, std::size_t size);
    void AddShared(std::uint32_t entry, std::uint32_t slot, std::size_t size);
};

/// Memory for one received packet. Large: never on a stack.
struct CPacketBuffer {
    std::array<std::uint8_t, kMaxPacket> bytes;
};

/// A received packet that passed all checks. Pointers go into the buffer.
struct CIncomingPacket {
    CPacketHead head = {};
    const std::uint8_t* message = nullptr;
    const std::uint8_t* transferRecords = nullptr;
    const std::uint8_t* inlineBytes = nullptr;
    std::array<CFileDescriptor, kMaxDescriptors> descriptors;
    std::size_t descriptorCount = 0;

    CTransferRecord Transfer(std::size_t index) const;
    /// Closes the descriptors that nobody took.
    void DropDescriptors();
};

enum class EReceive { Packet, Nothing, Closed, Malformed };

/// Waits for a packet until the deadline; one that has passed already looks once. Nothing: the
/// deadline passed, or the socket had been readable for another thread.
EReceive ReceivePacket(int socket, const CDeadline& deadline, CPacketBuffer& buffer,
                       CIncomingPacket& packet);

/// Checks the lengths of a packet of `size` bytes. `descriptors` must match the records.
bool ParsePacket(const CPacketBuffer& buffer, std::size_t size, CIncomingPacket& packet);

enum class ESend { Sent, TimedOut, Closed };

/// Sends the packet, with the slots that `freed` has to give back. Waits until the deadline when
/// the peer's buffer is full. On Sent the slots of the packet are the peer's.
ESend SendPacket(int socket, COutgoingPacket& packet, CSendPool& pool, CReceivePool& freed,
                 const CDeadline& deadline);

}  // namespace Kyr::PortLayer::Detail
