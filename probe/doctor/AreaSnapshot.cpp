#include "probe/doctor/AreaSnapshot.h"

#include <algorithm>

#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/KelcommNames.h"
#include "kelcomm/native/Handle.h"
#include "ntapi/Status.h"

namespace Kyr::Probe {

namespace Kelcomm = Connectors::Common::Kelcomm;
namespace Native = Kelcomm::Native;

namespace {

constexpr std::uint32_t kMutexAccess = 0x100001;  // SYNCHRONIZE and MUTANT_QUERY_STATE
constexpr std::uint32_t kReadAccess = 4;
constexpr std::size_t kMostOfAnArea = std::size_t{16} << 20;  // our own limit

MutexState StateOf(std::uint32_t wait) {
    switch (wait) {
        case NtApi::kWaitObject0:
            return MutexState::kFree;
        case NtApi::kWaitAbandoned:
            return MutexState::kAbandoned;
        case NtApi::kWaitTimeout:
            return MutexState::kHeld;
        default:
            return MutexState::kUnknown;
    }
}

void ReadSection(const Native::NativeFunctions& native, AreaSnapshot& snapshot) {
    const Native::CHandle section(
        native, native.OpenFileMappingW(kReadAccess, 0,
                                        Kelcomm::BroadcastSectionName(Kelcomm::kKelcommClientId,
                                                                      Kelcomm::kKelcommServerId)
                                            .data()));
    snapshot.hasSection = static_cast<bool>(section);
    if (!section) {
        return;
    }
    const Native::CMappedView view(native,
                                   native.MapViewOfFile(section.Get(), kReadAccess, 0, 0, 0));
    NtApi::MemoryBasicInformation pages{};
    if (view && native.VirtualQuery(view.Get(), &pages, sizeof pages) != 0) {
        snapshot.image.assign(static_cast<const char*>(view.Get()),
                              std::min(pages.RegionSize, kMostOfAnArea));
    }
}

}  // namespace

AreaSnapshot TakeAreaSnapshot(const Native::NativeFunctions& native,
                              std::chrono::milliseconds patience) {
    AreaSnapshot snapshot;
    const Native::CHandle mutex(
        native, native.OpenMutexW(kMutexAccess, 0,
                                  Kelcomm::BroadcastMutexName(Kelcomm::kKelcommClientId,
                                                              Kelcomm::kKelcommServerId)
                                      .data()));
    if (mutex) {
        snapshot.mutex = StateOf(
            native.WaitForSingleObject(mutex.Get(), static_cast<std::uint32_t>(patience.count())));
    }
    ReadSection(native, snapshot);
    if (snapshot.mutex == MutexState::kFree || snapshot.mutex == MutexState::kAbandoned) {
        native.ReleaseMutex(mutex.Get());
    }
    return snapshot;
}

}  // namespace Kyr::Probe
