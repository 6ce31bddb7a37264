#include "proofs/nth/Faults.h"

#include <atomic>

#include "proofs/nth/MallocCalls.h"
#include "tests/support/AllocationWatch.h"

namespace Kyr::Proofs::Nth {

namespace {

// The armed fault, in pieces that are read without a lock.
std::atomic<bool> armed{false};
std::atomic<Place> armedPlace{Place::kAllocation};
std::atomic<std::uint64_t> armedNth{0};
std::atomic<std::uint64_t> armedUses{0};
std::atomic<std::uint32_t> armedKind{0};
std::atomic<std::uint64_t> uses{0};
std::atomic<std::uint64_t> strokes{0};

thread_local int surroundings = 0;  // how many the thread is in

}  // namespace

std::string NameOf(Place place) {
    switch (place) {
        case Place::kAllocation:
            return "allocation";
        case Place::kMalloc:
            return "malloc";
        case Place::kThread:
            return "thread creation";
        case Place::kLock:
            return "lock creation";
        case Place::kNativeCall:
            return "native call";
        case Place::kAreaCall:
            return "area call";
        case Place::kExchange:
            return "exchange";
        case Place::kStoreRead:
            return "store read";
        case Place::kStoreWrite:
            return "store write";
        case Place::kPublish:
            return "publish";
        case Place::kLog:
            return "log call";
    }
    return "?";
}

std::string Describe(const Fault& fault) {
    std::string text = NameOf(fault.place) + " " + std::to_string(fault.nth);
    if (fault.uses == kFromThenOn) {
        text += " and all behind it";
    } else if (fault.uses > 1) {
        text += " to " + std::to_string(fault.nth + fault.uses - 1);
    }
    return text + ", kind " + std::to_string(fault.kind);
}

void Arm(const Fault& fault) {
    Disarm();
    armedPlace = fault.place;
    armedNth = fault.nth;
    armedUses = fault.uses;
    armedKind = fault.kind;
    uses = 0;
    strokes = 0;
    armed = true;
}

void Disarm() {
    armed = false;
}

bool HasStruck() {
    return strokes != 0;
}

std::uint64_t Strokes() {
    return strokes;
}

bool Strikes(Place place) noexcept {
    if (!armed || surroundings != 0 || place != armedPlace) {
        return false;
    }
    const std::uint64_t use = ++uses;
    const bool strikes = use >= armedNth && use - armedNth < armedUses;
    if (strikes) {
        ++strokes;
    }
    return strikes;
}

std::uint32_t StruckKind() noexcept {
    return armedKind;
}

CSurroundings::CSurroundings() {
    ++surroundings;
}

CSurroundings::~CSurroundings() {
    --surroundings;
}

CModuleCall::CModuleCall() : depth_(surroundings) {
    surroundings = 0;
}

CModuleCall::~CModuleCall() {
    surroundings = depth_;
}

void WatchAllocations() {
    FindCallersOfMalloc();
    Test::SetAllocationJudge([]() noexcept { return !Strikes(Place::kAllocation); });
}

bool IsInSurroundings() noexcept {
    return surroundings != 0;
}

}  // namespace Kyr::Proofs::Nth
