// The packets that the two ends of a connection exchange.
//
// A packet is: the fixed head, the port message, one record for each transfer, and the bytes of the
// transfers that travel inside the packet. Handles of shared memory that the peer does not know yet
// come with it in this order: the view's, then the transfers'. Both ends are of one build on one
// machine, so the head is in native byte order. Everything in a received packet is checked before
// anything is used. A malformed packet ends the connection.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ntapi/PortMessage.h"
#include "portlayer/core/Deadline.h"
#include "portlayer/core/SystemHandle.h"
#include "portlayer/packets/DataBlock.h"
#include "portlayer/packets/SharedPool.h"

namespace Kyr::PortLayer::Detail {

enum class PacketKind : std::uint32_t {
    kConnect = 1,   // client: connection request; `flags` is the dialect
    kAccepted = 2,  // server: the connection message back; `flags` is its longest message
    kRequest = 4,   // client: waits for the Reply with the same exchange number
    kDatagram = 5,  // client
    kReply = 6,     // server
};

struct PacketHead {
    std::uint32_t magic;
    PacketKind kind;
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
    std::uint64_t viewSlotSize;  // not 0: the memory is new to the receiver
    std::uint64_t viewMemory;    // its name, where handles do not travel
};
static_assert(sizeof(PacketHead) == 72, "no padding: the head is sent as it stands");

/// Bytes of one data entry, counted from the entry's base.
struct TransferRecord {
    std::uint32_t entry;
    std::uint32_t slot;  // kNoSlot: the bytes are inside the packet
    std::uint64_t size;
    std::uint64_t slotSize;  // not 0: the memory is new to the receiver
};
static_assert(sizeof(TransferRecord) == 24, "no padding");

// Our choice: transfers above this go through shared memory. Measured even with packets at 64 KiB.
constexpr std::size_t kMaxInlineTransfer = std::size_t{32} * 1024;
/// All inline transfers of a packet together.
constexpr std::size_t kMaxInline = std::size_t{64} * 1024;
constexpr std::size_t kMaxHandles = kMaxDataEntries + 1;
/// Fits the default send buffer of a socket.
constexpr std::size_t kMaxPacket = sizeof(PacketHead) + NtApi::kAlpcMaxMessage +
                                   kMaxDataEntries * sizeof(TransferRecord) + kMaxInline;

/// A view that came with a message; held until its slot is freed.
struct ReceivedView {
    std::uint32_t slot = kNoSlot;
    const std::uint8_t* base = nullptr;
    std::size_t size = 0;
    std::uint32_t flags = 0;
};

/// Flag of a request or reply packet: the receiver has to release the message.
constexpr std::uint32_t kPacketContinuation = 1;

/// A packet to send. Pointers are borrowed until the channel has sent it.
struct OutgoingPacket {
    PacketHead head = {};
    const void* message = nullptr;  // head.messageLength bytes
    // The first head.transferCount are set, of the bytes only those that are sent inside.
    std::array<TransferRecord, kMaxDataEntries> transfers;
    std::array<const void*, kMaxDataEntries> inlineBytes;

    explicit OutgoingPacket(PacketKind kind);
    void SetMessage(const void* bytes, std::size_t length);
    void SetView(std::uint32_t slot, std::size_t size, std::uint32_t flags);
    void AddInline(std::uint32_t entry, const void* bytes, std::size_t size);
    void AddShared(std::uint32_t entry, std::uint32_t slot, std::size_t size);
};

/// Memory for one received packet. Large: never on a stack.
struct PacketBuffer {
    std::array<std::uint8_t, kMaxPacket> bytes;
};

/// A received packet that passed all checks. Pointers go into the buffer.
struct IncomingPacket {
    PacketHead head = {};
    const std::uint8_t* message = nullptr;
    const std::uint8_t* transferRecords = nullptr;
    const std::uint8_t* inlineBytes = nullptr;
    std::array<CSystemHandle, kMaxHandles> handles;
    std::size_t handleCount = 0;

    TransferRecord Transfer(std::size_t index) const;
    /// Closes the handles that nobody took.
    void DropHandles();
};

/// Checks the lengths of a packet of `size` bytes. `handleCount` must match the records.
bool ParsePacket(const PacketBuffer& buffer, std::size_t size, IncomingPacket& packet);

/// Maps and holds what the transfer of a packet has in shared memory; `handle` counts the packet's
/// handles that were used. Null when the peer broke the rules.
const std::uint8_t* TakeSlot(IncomingPacket& packet, CReceivePool& pool, std::size_t& handle,
                             const TransferRecord& transfer);

/// Maps and holds the view that came with the packet, if one did, in the same way. False when the
/// peer broke the rules.
bool TakeView(IncomingPacket& packet, CReceivePool& pool, std::size_t& handle, ReceivedView& view);

/// The slots of a packet on their way: lent to the peer, and taken back when it was not sent.
class CPacketLoan {
  public:
    /// Completes the packet's head and transfers. The pools and the packet must outlive the loan.
    CPacketLoan(OutgoingPacket& packet, CSendPool& pool, CReceivePool& freed);

    /// One of them, once.
    void Sent();
    void NotSent();

    std::array<std::intptr_t, kMaxHandles> handles;  // to go along; the pool's
    std::size_t handleCount = 0;

  private:
    std::uint64_t Lend(std::uint32_t slot, std::uint64_t& name);
    template <typename Action>
    void ForEachSlot(Action action);

    OutgoingPacket& packet_;
    CSendPool& pool_;
    CReceivePool& freed_;
};

}  // namespace Kyr::PortLayer::Detail
