// A mutex whose use the compiler checks, the objects that hold it and let it go for a while, and
// the condition that its holders wait for. Thin types over Boost's, since only those end a wait
// when its thread is interrupted.
//
// Threads: any. Taking a mutex is no interruption point, waiting for a condition is one.
// Ownership: a lock must not outlive its mutex.
// Errors: boost::thread_interrupted, and boost::thread_resource_error of a constructor for which
//   the system has nothing left. A wait that wants for something itself, which it may on Windows,
//   goes on in short sleeps. Misuse is a bug that clang's analysis finds.
#pragma once

#include <chrono>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include "base/ThreadAnnotations.h"

namespace Kyr::Base {

class KYR_CAPABILITY("mutex") CMutex {
  public:
    CMutex() = default;
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;

    /// False: somebody holds it. For who only looks whether it is held; others use CLock.
    /// REQUIRES: the calling thread does not hold it.
    bool TryLock() KYR_TRY_ACQUIRE(true) { return mutex_.try_lock(); }
    /// REQUIRES: TryLock took it.
    void Unlock() KYR_RELEASE() { mutex_.unlock(); }

  private:
    friend class CLock;
    friend class CUnlock;

    boost::mutex mutex_;
};

/// Holds a mutex for as long as it lives.
class KYR_SCOPED_CAPABILITY CLock {
  public:
    explicit CLock(CMutex& mutex) KYR_ACQUIRE(mutex) : lock_(mutex.mutex_) {}
    ~CLock() KYR_RELEASE() = default;
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

    /// Gives the mutex back early. REQUIRES: it is held.
    void Unlock() KYR_RELEASE() { lock_.unlock(); }
    /// Takes it again. REQUIRES: it was given back.
    void Lock() KYR_ACQUIRE() { lock_.lock(); }

    bool IsHeld() const { return lock_.owns_lock(); }

  private:
    friend class CCondition;

    boost::unique_lock<boost::mutex> lock_;
};

/// Gives a held mutex back for as long as it lives: for a long wait in the middle of what it
/// guards. REQUIRES: the calling thread holds it.
class KYR_SCOPED_CAPABILITY CUnlock {
  public:
    explicit CUnlock(CMutex& mutex) KYR_RELEASE(mutex) : mutex_(mutex.mutex_) { mutex_.unlock(); }
    ~CUnlock() KYR_RELEASE() { mutex_.lock(); }
    CUnlock(const CUnlock&) = delete;
    CUnlock& operator=(const CUnlock&) = delete;

  private:
    boost::mutex& mutex_;
};

class CCondition {
  public:
    CCondition() = default;
    CCondition(const CCondition&) = delete;
    CCondition& operator=(const CCondition&) = delete;

    void NotifyOne() { condition_.notify_one(); }
    void NotifyAll() { condition_.notify_all(); }

    /// Gives the lock back until somebody notifies, and holds it again when it returns or throws.
    /// May wake without a reason. REQUIRES: `lock` is held.
    void Wait(CLock& lock);
    /// The same for at most `timeout` of real time. False: it has passed.
    bool WaitFor(CLock& lock, std::chrono::microseconds timeout);

  private:
    // The lock is held before and afterwards, which the analysis does not see of an argument.
    static void WaitWithoutCondition(CLock& lock,
                                     std::chrono::microseconds limit) KYR_NO_THREAD_SAFETY_ANALYSIS;

    boost::condition_variable condition_;
};

}  // namespace Kyr::Base
