// What one end of an advanced connection holds of shared memory: the sections and views that it
// made, and the views and messages that it received and has not released.
//
// Views are read and written in place. A section's memory comes from the connection's pool and may
// hold bytes of an earlier section of the same connection.
// Threads: any. The pools must outlive it and every section that it hands out.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "ntapi/Alpc.h"
#include "ntapi/Status.h"
#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/packets/Packet.h"

namespace Kyr::PortLayer::Detail {

/// A section made here. Its slot is used again after the section's end and the peer's release.
class CPortSection {
  public:
    CPortSection(CSendPool& pool, const SendArea& area, std::size_t size)
        : area(area), size(size), pool_(pool) {}
    ~CPortSection() { pool_.Release(area.slot); }

    const SendArea area;
    const std::size_t size;
    // Guarded by the mutex of CAlpcMemory.
    // A section ends when both are gone, in either order.
    NtApi::Handle handle = nullptr;  // null when deleted; the view may still stand
    CLiveCount view;                 // counts when there is one

  private:
    const CLiveCount live_{LiveCounter::kPortSections};
    CSendPool& pool_;
};

class CAlpcMemory {
  public:
    CAlpcMemory(CSendPool& pool, CReceivePool& received) : pool_(pool), received_(received) {}
    ~CAlpcMemory() { Clear(); }

    NtApi::NtStatus CreateSection(std::size_t size, NtApi::Handle& section,
                                  std::size_t* actualSize);
    NtApi::NtStatus DeleteSection(NtApi::Handle section);
    NtApi::NtStatus CreateView(NtApi::AlpcDataViewAttr& view);
    /// A view made here or received here.
    NtApi::NtStatus DeleteView(const void* base);

    /// Lets a view go along with the packet; `section` keeps its section alive.
    NtApi::NtStatus AttachView(const NtApi::AlpcDataViewAttr& view, OutgoingPacket& packet,
                               std::shared_ptr<CPortSection>& section);
    /// The view went with a message that was sent.
    void ViewSent(CPortSection& section);

    /// Remembers a received message. One that needs a release is unknown after it. False when
    /// another one with this id still waits for its release, which would end this one's view.
    bool AddReceived(std::uint32_t messageId, const ReceivedView& view, bool needsRelease);
    /// kStatusInvalidMessage when no such message waits for its release.
    NtApi::NtStatus ReleaseMessage(std::uint32_t messageId, bool unmapView);

    /// Ends everything, as closing the port does.
    void Clear();

  private:
    using Sections = std::vector<std::shared_ptr<CPortSection>>;
    // A received message stays known while one of the two counts. They end in either order: the
    // release of the message may leave its view standing, and a view may be deleted before.
    struct Received {
        std::uint32_t messageId;
        ReceivedView view;
        CLiveCount needsRelease;
        CLiveCount liveView;
    };
    // REQUIRE: mutex_ is held.
    /// The end of sections_ when it is deleted, or never was.
    Sections::iterator FindSection(NtApi::Handle handle);
    void EndView(Received& message);
    void EndOwnView(CPortSection& section);

    CSendPool& pool_;
    CReceivePool& received_;
    std::mutex mutex_;
    // Guarded by mutex_.
    Sections sections_;
    std::vector<Received> messages_;
    std::uintptr_t lastHandle_ = 0;
};

}  // namespace Kyr::PortLayer::Detail
