#include "portlayer/packets/SharedPool.h"

#include <algorithm>
#include <utility>

namespace Kyr::PortLayer::Detail {

namespace {

std::uint64_t Bit(std::uint32_t slot) {
    return std::uint64_t{1} << slot;
}

std::size_t SlotSizeFor(std::size_t size) {
    std::size_t slotSize = kSmallestSlot;
    while (slotSize < size) {
        slotSize *= 2;
    }
    return slotSize;
}

}  // namespace

bool CSendPool::Acquire(std::size_t size, SendArea& area) {
    if (size > kLargestSlot) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    // The first free slot that is large enough, else the first free one at all, made anew. Always
    // taking the first keeps a connection with one request at a time on one slot.
    const auto isFree = [](const Slot& slot) { return !slot.heldHere && !slot.heldByPeer; };
    const auto fits = [size](const Slot& slot) {
        return slot.mapping.Base() != nullptr && slot.mapping.Size() >= size;
    };
    Slot* const end = slots_.data() + slots_.size();
    Slot* chosen = std::find_if(slots_.data(), end,
                                [&](const Slot& slot) { return isFree(slot) && fits(slot); });
    if (chosen == end) {
        chosen = std::find_if(slots_.data(), end, isFree);
        if (chosen == end || !Renew(*chosen, SlotSizeFor(size))) {
            return false;
        }
    }
    chosen->heldHere = true;
    area = {static_cast<std::uint32_t>(chosen - slots_.data()), chosen->mapping.Base(),
            chosen->mapping.Size()};
    return true;
}

bool CSendPool::IsLent(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return slots_[index].heldByPeer;
}

bool CSendPool::Renew(Slot& slot, std::size_t size) {
    slot.mapping.Unmap();
    slot.memory.handle.Reset();
    // The peer keeps the old memory under this number until it is told of the new one.
    slot.sent = false;
    return CreateSharedMemory(size, slot.memory, slot.mapping);
}

SlotReference CSendPool::Lend(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[index];
    // Without a handle, the peer knows the memory by the slot's number.
    slot.heldByPeer = true;
    SlotReference reference;
    if (slot.memory.handle.IsOpen()) {
        reference.slotSize = slot.mapping.Size();
        reference.handle = slot.memory.handle.Get();
        reference.name = slot.memory.name;
    }
    return reference;
}

void CSendPool::Sent(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    // The return of the slot may have come already, on the thread that reads: then this is the
    // moment.
    slots_[index].sent = true;
    CloseWhenKnown(slots_[index]);
}

void CSendPool::NotSent(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    // The memory did not go either: if it has never gone, its handle is still open for the next
    // time.
    slots_[index].heldByPeer = false;
}

void CSendPool::Release(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    slots_[index].heldHere = false;
    DropIfLarge(slots_[index]);
}

void CSendPool::TakeBack(std::uint64_t slots) {
    if (slots == 0) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    for (std::uint32_t i = 0; i < kMaxSlots; ++i) {
        if ((slots & Bit(i)) != 0 && slots_[i].heldByPeer) {
            slots_[i].heldByPeer = false;
            CloseWhenKnown(slots_[i]);
            DropIfLarge(slots_[i]);
        }
    }
}

void CSendPool::CloseWhenKnown(Slot& slot) {
    // That the slot came back proves that the peer has opened the memory; before, a name that
    // nobody holds open could be gone. Very large memory the peer does not keep: it goes along
    // again each time that it is sent.
    if (slot.sent && !slot.heldByPeer && slot.mapping.Size() <= kLargestKeptSlot) {
        slot.memory.handle.Reset();
    }
}

void CSendPool::DropIfLarge(Slot& slot) {
    // The last of the two holders has gone.
    if (!slot.heldHere && !slot.heldByPeer && slot.mapping.Size() > kLargestKeptSlot) {
        slot.mapping.Unmap();
        slot.memory.handle.Reset();
    }
}

bool CReceivePool::Announce(std::uint32_t index, std::uint64_t size, const CSystemHandle& memory) {
    if (index >= kMaxSlots || size == 0 || size > kLargestSlot) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[index];
    // Replacing memory that somebody here reads would take it away under the reader.
    return !slot.held && MapPeersMemory(memory, static_cast<std::size_t>(size), slot.mapping);
}

const std::uint8_t* CReceivePool::Hold(std::uint32_t index, std::uint64_t size) {
    if (index >= kMaxSlots) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[index];
    if (slot.held || slot.mapping.Base() == nullptr || size > slot.mapping.Size()) {
        return nullptr;
    }
    slot.held = true;
    return slot.mapping.Base();
}

void CReceivePool::Free(std::uint32_t index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Slot& slot = slots_[index];
    // The bit may be on its way at once, and new memory for the slot come back. Announce waits for
    // this lock then.
    slot.held = false;
    freed_ |= Bit(index);
    if (slot.mapping.Size() > kLargestKeptSlot) {
        slot.mapping.Unmap();
    }
}

std::uint64_t CReceivePool::TakeFreed() {
    // Most packets find nothing, and need not write to what all threads share.
    return freed_.load(std::memory_order_relaxed) == 0 ? 0 : freed_.exchange(0);
}

void CReceivePool::PutBack(std::uint64_t slots) {
    freed_ |= slots;
}

}  // namespace Kyr::PortLayer::Detail
