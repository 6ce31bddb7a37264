#include "kelcomm/area/KelcommCommonNt.h"

#include <cstring>

#include "base/LittleEndian.h"
#include "kelcomm/client/BroadcastLayout.h"
#include "kelcomm/client/IKelcommClient.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/KelcommNames.h"
#include "ntapi/Status.h"

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

constexpr std::uint32_t kMutexAccess = 0x100001;  // SYNCHRONIZE and MUTANT_QUERY_STATE
constexpr std::uint32_t kFileMapRead = 4;
constexpr std::uint32_t kMutexTimeoutMs = 5000;  // fixed by the protocol

/// Offsets travel as signed 32-bit numbers.
bool IsNegative(std::uint32_t offset) {
    return offset > 0x7FFFFFFF;
}

/// One read of a word that another process may be writing. Volatile: a compiler that read the word
/// again would let it change between check and use. An aligned word is read in one access, which
/// never meets half of a write; no such promise exists for one that stands across a border.
std::uint32_t LoadShared(const std::uint8_t* place) {
    std::uint8_t bytes[4];
    if (reinterpret_cast<std::uintptr_t>(place) % sizeof(std::uint32_t) == 0) {
        const std::uint32_t word = *reinterpret_cast<const volatile std::uint32_t*>(place);
        std::memcpy(bytes, &word, sizeof(bytes));
    } else {
        const volatile std::uint8_t* shared = place;
        for (std::uint8_t& byte : bytes) {
            byte = *shared++;
        }
    }
    return Base::LoadLittleEndian<std::uint32_t>(bytes);
}

}  // namespace

CKelcommCommonNt::~CKelcommCommonNt() {
    UnmapArea();
}

bool CKelcommCommonNt::OpenArea(const Identity& identity) {
    if (!broadcastView_ && !MapArea(identity)) {
        UnmapArea();
    }
    return static_cast<bool>(broadcastView_);
}

bool CKelcommCommonNt::MapArea(const Identity& identity) {
    // Mutex, section, view, checks: a step that fails leaves the ones before it to UnmapArea, which
    // takes them back in reverse.
    if (broadcastMutex_) {
        return false;  // a reader of the area that was closed still waits
    }
    broadcastMutex_ = Native::CHandle(
        native_,
        native_.OpenMutexW(kMutexAccess, 0,
                           BroadcastMutexName(identity.clientId, identity.serverId).data()));
    if (!broadcastMutex_) {
        return false;
    }
    broadcastSection_ = Native::CHandle(
        native_,
        native_.OpenFileMappingW(
            kFileMapRead, 0, BroadcastSectionName(identity.clientId, identity.serverId).data()));
    if (!broadcastSection_) {
        return false;
    }
    broadcastView_ = Native::CMappedView(
        native_, native_.MapViewOfFile(broadcastSection_.Get(), kFileMapRead, 0, 0, 0));
    if (!broadcastView_) {
        return false;
    }
    // How long the view really is, only the system knows. What the header says of itself would be
    // the product's word for it.
    NtApi::MemoryBasicInformation pages{};
    if (native_.VirtualQuery(broadcastView_.Get(), &pages, sizeof(pages)) == 0) {
        return false;
    }
    broadcastViewSize_ = pages.RegionSize;
    // Once is enough for these: they say which format the area has, for as long as it is there.
    // Where the data stand and how many they are may change, and is read for each read.
    return broadcastViewSize_ >= Broadcast::kHeaderSize &&
           ReadHeaderField(Broadcast::kHeaderSizeField) == Broadcast::kHeaderSize &&
           std::memcmp(SectionStart() + Broadcast::kMagicField, kKelcommMagic, kKelcommMagicSize) ==
               0 &&
           ReadHeaderField(Broadcast::kVersionField) == kKelcommVersion;
}

void CKelcommCommonNt::UnmapArea() {
    broadcastView_.Reset();
    broadcastViewSize_ = 0;
    broadcastSection_.Reset();
    // Without the handle a waiting reader could not release the mutex, and the product would miss
    // it: that reader closes it.
    if (mutexReaders_ == 0) {
        broadcastMutex_.Reset();
    }
}

void CKelcommCommonNt::CloseArea() {
    const Base::CLock lock(criticalSection_);
    UnmapArea();
}

const std::uint8_t* CKelcommCommonNt::SectionStart() const {
    return static_cast<const std::uint8_t*>(broadcastView_.Get());
}

std::uint32_t CKelcommCommonNt::ReadHeaderField(std::size_t field) const {
    return LoadShared(SectionStart() + field);
}

bool CKelcommCommonNt::IsInsideData(std::uint32_t offset, std::uint32_t length) const {
    return !IsNegative(offset) &&
           std::uint64_t{offset} + length <= ReadHeaderField(Broadcast::kDataSizeField);
}

const std::uint8_t* CKelcommCommonNt::Locate(std::uint32_t offset, std::uint32_t length) const {
    const std::uint64_t start =
        std::uint64_t{ReadHeaderField(Broadcast::kDataOffsetField)} + offset;
    // The header's numbers are the product's word only; the view is what is really there.
    if (start + length > broadcastViewSize_) {
        return nullptr;
    }
    return SectionStart() + start;
}

// The product writes a block under its mutex: only for a reader who has it, too, do the words of a
// block belong together. The mutex is in the hands of another process, which may keep it
// for the whole five seconds; meanwhile the critical section is free, so that single values can be
// read and the client be closed. Order of locks: the product's mutex, then the critical section.
std::uint32_t CKelcommCommonNt::ReadArea(const Identity& identity, std::uint32_t offset,
                                         void* destination, std::uint32_t length) {
    NtApi::Handle mutex = nullptr;
    {
        const Base::CLock lock(criticalSection_);
        if (!OpenArea(identity)) {
            return kKelcommFailure;
        }
        // Borrowed; being counted as a reader keeps it open.
        mutex = broadcastMutex_.Get();
        ++mutexReaders_;
    }
    const std::uint32_t wait = native_.WaitForSingleObject(mutex, kMutexTimeoutMs);
    std::uint32_t result = kKelcommFailure;
    const Base::CLock lock(criticalSection_);
    // Abandoned: its owner died, and the system has made it ours. It is read and given back like
    // any other; kept, it would shut the next product out of its own area.
    if (wait == NtApi::kWaitObject0 || wait == NtApi::kWaitAbandoned) {
        result = CopyOut(offset, destination, length);
        native_.ReleaseMutex(mutex);
    }
    --mutexReaders_;
    // Closed meanwhile: the mutex was left to the last reader.
    if (!broadcastView_) {
        UnmapArea();
    }
    return result;
}

std::uint32_t CKelcommCommonNt::CopyOut(std::uint32_t offset, void* destination,
                                        std::uint32_t length) const {
    // The area may have been closed while the mutex was waited for.
    if (!broadcastView_ || !IsInsideData(offset, length)) {
        return kKelcommFailure;
    }
    const std::uint8_t* const source = Locate(offset, length);
    if (source == nullptr) {
        return kKelcommFailure;
    }
    if (length != 0) {
        std::memcpy(destination, source, length);
    }
    return kKelcommSuccess;
}

std::uint32_t CKelcommCommonNt::ReadAreaValue(const Identity& identity, std::uint32_t offset,
                                              std::uint32_t* value) {
    const Base::CLock lock(criticalSection_);
    if (!OpenArea(identity)) {
        return kKelcommFailure;
    }
    // Without the mutex: a single word needs nobody's consent, and a look at it must not wait for
    // the product. Unlike a block, a value outside the data is the caller's mistake, with a code of
    // its own; one outside the view is the product's, and a failure.
    if (!IsInsideData(offset, sizeof(*value))) {
        return kKelcommInvalidArgument;
    }
    const std::uint8_t* const source = Locate(offset, sizeof(*value));
    if (source == nullptr) {
        return kKelcommFailure;
    }
    *value = LoadShared(source);
    return kKelcommSuccess;
}

}  // namespace Kyr::Connectors::Common::Kelcomm
