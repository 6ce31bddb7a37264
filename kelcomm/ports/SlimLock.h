// The system's slim reader/writer lock behind the names that std::unique_lock and std::shared_lock
// use.
//
// Neither recursive nor to be raised from shared to exclusive: who tries waits for himself. Waiting
// threads are served in no certain order.
//
// On a system without the functions it locks nothing, as their fallbacks say.
// Ownership: the native table must outlive the lock. Errors: none.
#pragma once

#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Connectors::Common::Kelcomm {

class CSlimLock {
  public:
    explicit CSlimLock(const Native::CNativeFunctions& native) : native_(native) {
        native_.RtlInitializeSRWLock(&word_);
    }
    CSlimLock(const CSlimLock&) = delete;
    CSlimLock& operator=(const CSlimLock&) = delete;

    // Lower-case names: the standard library's lock guards call them.
    void lock() { native_.RtlAcquireSRWLockExclusive(&word_); }
    void unlock() { native_.RtlReleaseSRWLockExclusive(&word_); }
    void lock_shared() { native_.RtlAcquireSRWLockShared(&word_); }
    void unlock_shared() { native_.RtlReleaseSRWLockShared(&word_); }

  private:
    const Native::CNativeFunctions& native_;
    void* word_ = nullptr;
};

}  // namespace Kyr::Connectors::Common::Kelcomm
