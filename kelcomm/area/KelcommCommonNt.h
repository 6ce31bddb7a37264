// The reader of the product's broadcast area, and the critical section: what both kinds of client
// share, and derive from. The name is the product family's.
//
// The area is a named section of the product, guarded by a named mutex; its format is described at
// kelcomm/client/BroadcastLayout.h. It is opened by the first read and stays open, as a mapped
// view, until it is closed.
// Threads: any; the critical section is held while the area is opened, read and closed, not while
// the product's mutex is waited for.
// Errors: KelcommResult codes; nothing throws.
// Ownership: the native table must outlive the object.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Mutex.h"
#include "kelcomm/native/Handle.h"

namespace Kyr::Connectors::Common::Kelcomm {

class CKelcommCommonNt {
  public:
    CKelcommCommonNt(const CKelcommCommonNt&) = delete;
    CKelcommCommonNt& operator=(const CKelcommCommonNt&) = delete;

  protected:
    /// The two ids whose names the area is found under.
    struct Identity {
        std::uint32_t clientId;
        std::uint32_t serverId;
    };

    explicit CKelcommCommonNt(const Native::NativeFunctions& native) : native_(native) {}
    /// Closes the area.
    ~CKelcommCommonNt();

    /// Copies a block under the product's mutex; 1 when it cannot be had or the block is not there.
    std::uint32_t ReadArea(const Identity& identity, std::uint32_t offset, void* destination,
                           std::uint32_t length);
    /// Reads one word without the mutex; 10 when it is outside the data, 1 without an area.
    std::uint32_t ReadAreaValue(const Identity& identity, std::uint32_t offset,
                                std::uint32_t* value);
    /// The next read opens the area anew. A reader that waits for the mutex meanwhile fails.
    void CloseArea();

    const Native::NativeFunctions& native_;
    Base::CMutex criticalSection_;  // guards the area below, and the port of the LPC client

  private:
    /// Maps the area if it is not; true when it is mapped and checked afterwards.
    bool OpenArea(const Identity& identity) KYR_REQUIRES(criticalSection_);
    bool MapArea(const Identity& identity) KYR_REQUIRES(criticalSection_);
    void UnmapArea() KYR_REQUIRES(criticalSection_);
    /// What a read under the product's mutex results in.
    std::uint32_t CopyOut(std::uint32_t offset, void* destination, std::uint32_t length) const
        KYR_REQUIRES(criticalSection_);
    /// The first byte of the section. REQUIRES: there is a view.
    const std::uint8_t* SectionStart() const KYR_REQUIRES(criticalSection_);
    std::uint32_t ReadHeaderField(std::size_t field) const KYR_REQUIRES(criticalSection_);
    /// Where `length` bytes at `offset` of the data area stand; null when they are outside the
    /// view.
    const std::uint8_t* Locate(std::uint32_t offset, std::uint32_t length) const
        KYR_REQUIRES(criticalSection_);
    /// Whether the header, as it is now, counts all of these bytes among its data.
    bool IsInsideData(std::uint32_t offset, std::uint32_t length) const
        KYR_REQUIRES(criticalSection_);

    // In the order in which they are opened; closed in reverse.
    /// Stays open while a reader waits for it.
    Native::CHandle broadcastMutex_ KYR_GUARDED_BY(criticalSection_);
    /// Readers that wait for the mutex or hold it.
    std::uint32_t mutexReaders_ KYR_GUARDED_BY(criticalSection_) = 0;
    Native::CHandle broadcastSection_ KYR_GUARDED_BY(criticalSection_);
    Native::CMappedView broadcastView_ KYR_GUARDED_BY(criticalSection_);
    std::size_t broadcastViewSize_ KYR_GUARDED_BY(criticalSection_) = 0;
};

}  // namespace Kyr::Connectors::Common::Kelcomm
