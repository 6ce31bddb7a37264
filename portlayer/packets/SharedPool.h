// Shared memory of one direction of a connection, for data too large for a packet.
//
// The sending end owns numbered slots of shared memory. It fills one, names it in a packet (with
// the memory's handle the first time), and may use it again once the receiving end gave it back;
// the slots given back travel as a bit mask in the next packet the other way, so that returning one
// costs no packet of its own. Both ends keep slots mapped: fresh memory for each message costs
// several times as much. Very large slots are not kept. The receiver never trusts the sender:
// memory must be sealed against shrinking and as large as announced, and a slot that is still held
// cannot be replaced. Threads: any; each pool has its own lock. An area stays valid until it is
// released or freed.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "portlayer/packets/SharedMemory.h"

namespace Kyr::PortLayer::Detail {

constexpr std::uint32_t kMaxSlots = 64;  // bits of the mask
constexpr std::uint32_t kNoSlot = 0xFFFFFFFF;
// Our choices. A slot is a power of two in size, so that growing data seldom needs a new one.
constexpr std::size_t kSmallestSlot = std::size_t{64} * 1024;
constexpr std::size_t kLargestKeptSlot = std::size_t{64} * 1024 * 1024;
constexpr std::size_t kLargestSlot = std::size_t{1} << 30;

/// A slot in the hands of the sending end.
struct SendArea {
    std::uint32_t slot = kNoSlot;
    std::uint8_t* base = nullptr;
    std::size_t size = 0;
};

/// How a packet names a slot. `slotSize` is not 0, and the memory goes along, the first time.
struct SlotReference {
    std::size_t slotSize = 0;
    std::intptr_t handle = -1;
    std::uint64_t name = 0;
};

class CSendPool {
  public:
    /// False when every slot is in use, there is no memory, or no slot is so large.
    bool Acquire(std::size_t size, SendArea& area);
    /// For the packet that is about to carry the slot: from now on the peer counts as a holder, as
    /// its return may overtake the end of the send. The handle stays the pool's.
    /// REQUIRES: the caller holds the slot until after Sent or NotSent.
    SlotReference Lend(std::uint32_t slot);
    /// The peer has not given the slot back yet.
    bool IsLent(std::uint32_t slot);
    void Sent(std::uint32_t slot);
    void NotSent(std::uint32_t slot);
    /// The local holder is done with the slot.
    void Release(std::uint32_t slot);
    /// The peer gave these slots back. Bits of slots that it does not hold are ignored.
    void TakeBack(std::uint64_t slots);

  private:
    // Who holds a slot, and how it gets from one to the other:
    //   heldHere  heldByPeer
    //   no        no          free: Acquire may take it, or make it anew in another size
    //   yes       no          Acquire: the local holder fills it
    //   yes       yes         Lend: in a packet, which the peer may have read already
    //   no        yes         Release before the peer's return: free once TakeBack was called
    // NotSent takes a Lend back. The memory is open, and goes along with packets, until the peer is
    // known to have it and to keep it: a packet with it was sent, and the slot has come back.
    struct Slot {
        CMapping mapping;
        SharedMemory memory;  // open until the peer, which then has it, gave the slot back
        bool sent = false;    // a packet with the memory is with the peer
        bool heldHere = false;
        bool heldByPeer = false;
    };
    void DropIfLarge(Slot& slot);
    void CloseWhenKnown(Slot& slot);
    bool Renew(Slot& slot, std::size_t size);

    std::mutex mutex_;
    std::array<Slot, kMaxSlots> slots_;  // guarded by mutex_
};

class CReceivePool {
  public:
    /// Maps the memory that came for `slot`. False: the peer broke the rules.
    bool Announce(std::uint32_t slot, std::uint64_t size, const CSystemHandle& memory);
    /// Holds the slot until Free. Null when it is unknown, already held, or smaller than `size`.
    const std::uint8_t* Hold(std::uint32_t slot, std::uint64_t size);
    void Free(std::uint32_t slot);
    /// The slots freed since the last call, for the next packet.
    std::uint64_t TakeFreed();
    /// The packet could not be sent after all.
    void PutBack(std::uint64_t slots);

  private:
    struct Slot {
        CMapping mapping;
        bool held = false;
    };
    std::mutex mutex_;
    std::array<Slot, kMaxSlots> slots_;  // guarded by mutex_
    // Free adds under mutex_. Every packet takes, most of them nothing: without the mutex.
    std::atomic<std::uint64_t> freed_{0};
};

}  // namespace Kyr::PortLayer::Detail
