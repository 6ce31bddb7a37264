// A lock that its owner may take again.
//
// Threads: any. Has the shape that boost::unique_lock needs.
#pragma once

#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

namespace Kyr::Connectors::Common {

class CRecursiveLock {
  public:
    CRecursiveLock();
    ~CRecursiveLock();
    CRecursiveLock(const CRecursiveLock&) = delete;
    CRecursiveLock& operator=(const CRecursiveLock&) = delete;

    // The names that the standard's lock guards call.
    void lock();
    /// REQUIRES: the calling thread owns the lock.
    void unlock();

  private:
    unsigned count_ = 0;  // belongs to the owner

    mutable boost::mutex ownerMutex_;  // guards owner_ only, which other threads compare with
    boost::thread::id owner_;

    boost::mutex mutex_;  // held by the owner
};

}  // namespace Kyr::Connectors::Common
