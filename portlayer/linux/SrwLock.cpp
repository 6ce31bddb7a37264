// Slim reader/writer locks in one word, over a futex.
//
// The word: bit 0 = held exclusively, bit 1 = somebody sleeps, the rest counts shared holders. A
// thread that finds a sleeper sleeps, too, so that readers cannot keep a writer out for ever; the
// last holder clears the word and wakes all. As with the system's, a thread must not take a lock
// that it already holds, in either mode.
#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "portlayer/ClassicFunctions.h"

namespace Kyr::PortLayer {

namespace {

constexpr std::uint32_t kExclusive = 1;
constexpr std::uint32_t kSleepers = 2;
constexpr std::uint32_t kOneShared = 4;

/// The low half of the lock word; the other half stays zero.
std::uint32_t* WordOf(void** lock) {
    return reinterpret_cast<std::uint32_t*>(lock);
}

void Sleep(std::uint32_t* word, std::uint32_t seen) {
    const std::uint32_t marked = seen | kSleepers;
    // Not if the word has changed: the lock may be free then. The system compares once more before
    // it lets the thread sleep, so that no wake-up is missed.
    if (seen == marked || __atomic_compare_exchange_n(word, &seen, marked, false, __ATOMIC_RELAXED,
                                                      __ATOMIC_RELAXED)) {
        ::syscall(SYS_futex, word, FUTEX_WAIT_PRIVATE, marked, nullptr, nullptr, 0);
    }
}

void WakeAll(std::uint32_t* word) {
    ::syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

/// Adds `add` to the word as soon as the lock is free: for a writer, of everything; for a reader,
/// of a writer and of anybody who sleeps. Who was woken tries like a newcomer.
void Acquire(std::uint32_t* word, std::uint32_t add, bool exclusive) {
    std::uint32_t seen = __atomic_load_n(word, __ATOMIC_RELAXED);
    for (;;) {
        const bool free = exclusive ? seen == 0 : (seen & (kExclusive | kSleepers)) == 0;
        if (!free) {
            Sleep(word, seen);
            seen = __atomic_load_n(word, __ATOMIC_RELAXED);
        } else if (__atomic_compare_exchange_n(word, &seen, seen + add, false, __ATOMIC_ACQUIRE,
                                               __ATOMIC_RELAXED)) {
            return;
        }
    }
}

}  // namespace

void KYR_NTAPI RtlInitializeSRWLock(void** lock) {
    *lock = nullptr;
}

void KYR_NTAPI RtlAcquireSRWLockExclusive(void** lock) {
    Acquire(WordOf(lock), kExclusive, true);
}

void KYR_NTAPI RtlAcquireSRWLockShared(void** lock) {
    Acquire(WordOf(lock), kOneShared, false);
}

void KYR_NTAPI RtlReleaseSRWLockExclusive(void** lock) {
    std::uint32_t* const word = WordOf(lock);
    if ((__atomic_exchange_n(word, 0, __ATOMIC_RELEASE) & kSleepers) != 0) {
        WakeAll(word);
    }
}

void KYR_NTAPI RtlReleaseSRWLockShared(void** lock) {
    std::uint32_t* const word = WordOf(lock);
    std::uint32_t seen = __atomic_load_n(word, __ATOMIC_RELAXED);
    for (;;) {
        // The last one clears the mark of sleepers as well: all are woken, and mark again what they
        // do not get.
        const bool last = seen / kOneShared == 1;
        const std::uint32_t next = last ? 0 : seen - kOneShared;
        if (__atomic_compare_exchange_n(word, &seen, next, false, __ATOMIC_RELEASE,
                                        __ATOMIC_RELAXED)) {
            if (last && (seen & kSleepers) != 0) {
                WakeAll(word);
            }
            return;
        }
    }
}

}  // namespace Kyr::PortLayer
