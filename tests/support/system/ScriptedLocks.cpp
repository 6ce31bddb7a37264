#include "tests/support/system/ScriptedLocks.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <thread>

namespace Kyr::Test {

namespace {

using Guard = std::lock_guard<std::mutex>;

// The word counts shared holders; its top bit means exclusive.
constexpr std::uintptr_t kExclusive = std::uintptr_t{1} << (8 * sizeof(void*) - 1);

std::atomic<std::uintptr_t>& Word(void** lock) {
    static_assert(sizeof(std::atomic<std::uintptr_t>) == sizeof(void*));
    return *reinterpret_cast<std::atomic<std::uintptr_t>*>(lock);
}

}  // namespace

struct CScriptedLocks::Functions {
    static void KYR_NTAPI RtlInitializeSRWLock(void** lock) {
        current_->calls_.Note("RtlInitializeSRWLock");
        Word(lock) = 0;
    }
    static void KYR_NTAPI RtlAcquireSRWLockExclusive(void** lock) {
        for (;;) {
            std::uintptr_t expected = 0;
            if (Word(lock).compare_exchange_strong(expected, kExclusive)) {
                break;
            }
            std::this_thread::yield();
        }
        current_->calls_.Note("RtlAcquireSRWLockExclusive");
        current_->CountHolder(lock, 1);
    }
    static void KYR_NTAPI RtlAcquireSRWLockShared(void** lock) {
        for (;;) {
            std::uintptr_t expected = Word(lock);
            if ((expected & kExclusive) == 0 &&
                Word(lock).compare_exchange_strong(expected, expected + 1)) {
                break;
            }
            std::this_thread::yield();
        }
        current_->calls_.Note("RtlAcquireSRWLockShared");
        current_->CountHolder(lock, 1);
    }
    static void KYR_NTAPI RtlReleaseSRWLockExclusive(void** lock) {
        current_->calls_.Note("RtlReleaseSRWLockExclusive");
        current_->CountHolder(lock, -1);
        Word(lock) = 0;
    }
    static void KYR_NTAPI RtlReleaseSRWLockShared(void** lock) {
        current_->calls_.Note("RtlReleaseSRWLockShared");
        current_->CountHolder(lock, -1);
        --Word(lock);
    }
};

CScriptedLocks::CScriptedLocks(CScriptedCalls& calls,
                               Connectors::Common::Kelcomm::Native::NativeFunctions& functions)
    : calls_(calls) {
    functions.RtlInitializeSRWLock = &Functions::RtlInitializeSRWLock;
    functions.RtlAcquireSRWLockExclusive = &Functions::RtlAcquireSRWLockExclusive;
    functions.RtlAcquireSRWLockShared = &Functions::RtlAcquireSRWLockShared;
    functions.RtlReleaseSRWLockExclusive = &Functions::RtlReleaseSRWLockExclusive;
    functions.RtlReleaseSRWLockShared = &Functions::RtlReleaseSRWLockShared;
}

std::size_t CScriptedLocks::CountHeld() const {
    const Guard guard(mutex_);
    return static_cast<std::size_t>(std::count_if(
        holders_.begin(), holders_.end(), [](const auto& entry) { return entry.second != 0; }));
}

std::size_t CScriptedLocks::CountHeldExclusively() const {
    const Guard guard(mutex_);
    return static_cast<std::size_t>(
        std::count_if(holders_.begin(), holders_.end(), [](const auto& entry) {
            // Held at all: the lock still lives.
            return entry.second != 0 && (Word(static_cast<void**>(entry.first)) & kExclusive) != 0;
        }));
}

void CScriptedLocks::CountHolder(void* lock, int change) {
    const Guard guard(mutex_);
    holders_[lock] += change;
}

}  // namespace Kyr::Test
