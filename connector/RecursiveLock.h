// A lock that its owner may take again, and the guard that holds it.
//
// Threads: any. Has the shape that boost::unique_lock needs, too.
#pragma once

#include <boost/thread/thread.hpp>

#include "base/Mutex.h"

namespace Kyr::Connectors::Common {

class KYR_CAPABILITY("recursive lock") CRecursiveLock {
  public:
    CRecursiveLock();
    ~CRecursiveLock();
    CRecursiveLock(const CRecursiveLock&) = delete;
    CRecursiveLock& operator=(const CRecursiveLock&) = delete;

    // The names that the standard's lock guards call.
    void lock() KYR_ACQUIRE();
    /// REQUIRES: the calling thread owns the lock.
    void unlock() KYR_RELEASE();

  private:
    unsigned count_ = 0;  // belongs to the owner

    Base::CMutex ownerMutex_;
    boost::thread::id owner_ KYR_GUARDED_BY(ownerMutex_);  // other threads compare with it

    boost::mutex mutex_;  // held by the owner
};

class KYR_SCOPED_CAPABILITY CRecursiveGuard {
  public:
    explicit CRecursiveGuard(CRecursiveLock& lock) KYR_ACQUIRE(lock) : lock_(lock) { lock.lock(); }
    ~CRecursiveGuard() KYR_RELEASE() { lock_.unlock(); }
    CRecursiveGuard(const CRecursiveGuard&) = delete;
    CRecursiveGuard& operator=(const CRecursiveGuard&) = delete;

  private:
    CRecursiveLock& lock_;
};

}  // namespace Kyr::Connectors::Common
