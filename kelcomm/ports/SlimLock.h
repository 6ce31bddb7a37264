// The system's slim reader/writer lock, and the objects that hold it.
//
// On a system without the functions it locks nothing, as their fallbacks say.
// Ownership: the native table must outlive the lock, the lock who holds it. Errors: none.
#pragma once

#include "base/ThreadAnnotations.h"
#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Connectors::Common::Kelcomm {

class KYR_CAPABILITY("slim lock") CSlimLock {
  public:
    explicit CSlimLock(const Native::NativeFunctions& native) : native_(native) {
        native_.RtlInitializeSRWLock(&word_);
    }
    CSlimLock(const CSlimLock&) = delete;
    CSlimLock& operator=(const CSlimLock&) = delete;

    void Lock() KYR_ACQUIRE() { native_.RtlAcquireSRWLockExclusive(&word_); }
    void Unlock() KYR_RELEASE() { native_.RtlReleaseSRWLockExclusive(&word_); }
    void LockShared() KYR_ACQUIRE_SHARED() { native_.RtlAcquireSRWLockShared(&word_); }
    void UnlockShared() KYR_RELEASE_SHARED() { native_.RtlReleaseSRWLockShared(&word_); }

  private:
    const Native::NativeFunctions& native_;
    void* word_ = nullptr;
};

/// Holds a slim lock alone for as long as it lives.
class KYR_SCOPED_CAPABILITY CExclusiveLock {
  public:
    explicit CExclusiveLock(CSlimLock& lock) KYR_ACQUIRE(lock) : lock_(lock) { lock.Lock(); }
    ~CExclusiveLock() KYR_RELEASE() { lock_.Unlock(); }
    CExclusiveLock(const CExclusiveLock&) = delete;
    CExclusiveLock& operator=(const CExclusiveLock&) = delete;

  private:
    CSlimLock& lock_;
};

/// Holds a slim lock beside others for as long as it lives.
class KYR_SCOPED_CAPABILITY CSharedLock {
  public:
    explicit CSharedLock(CSlimLock& lock) KYR_ACQUIRE_SHARED(lock) : lock_(lock) {
        lock.LockShared();
    }
    ~CSharedLock() KYR_RELEASE_GENERIC() {
        if (held_) {
            lock_.UnlockShared();
        }
    }
    CSharedLock(const CSharedLock&) = delete;
    CSharedLock& operator=(const CSharedLock&) = delete;

    /// Gives the lock back early. REQUIRES: it is held.
    void Unlock() KYR_RELEASE_GENERIC() {
        lock_.UnlockShared();
        held_ = false;
    }
    /// Takes it again. REQUIRES: it was given back.
    void Lock() KYR_ACQUIRE_SHARED() {
        lock_.LockShared();
        held_ = true;
    }

  private:
    CSlimLock& lock_;
    bool held_ = true;
};

}  // namespace Kyr::Connectors::Common::Kelcomm
