// Stands before the system's functions by which threads live, wait and read the time: those of a
// thread that the scheduler runs come to the scheduler, all others to the system.
#include <cerrno>
#include <ctime>
#include <dlfcn.h>
#include <sched.h>

#include "proofs/schedules/Scheduler.h"
#include "proofs/schedules/SystemCalls.h"

namespace {

using Kyr::Proofs::Schedules::CScheduler;
using Kyr::Proofs::Schedules::Nanoseconds;

constexpr Nanoseconds kSecond = 1000000000;
// What every clock shows at the beginning, so that a deadline needs not say whose it is.
constexpr Nanoseconds kBeginning = 1700000000 * kSecond;

/// The next function of that name; looked up when it is called first, without a guard of the
/// language's, which is one of these functions.
template <typename... Arguments>
class CNext {
  public:
    explicit constexpr CNext(const char* name) : name_(name) {}
    int operator()(Arguments... arguments) {
        if (function_ == nullptr) {
            function_ = reinterpret_cast<int (*)(Arguments...)>(dlsym(RTLD_NEXT, name_));
        }
        return function_(arguments...);
    }

  private:
    const char* const name_;
    int (*function_)(Arguments...) = nullptr;
};

using Mutex = pthread_mutex_t*;
using Condition = pthread_cond_t*;
using Routine = void* (*)(void*);

CNext<pthread_t*, const pthread_attr_t*, Routine, void*> createThread("pthread_create");
CNext<pthread_t, void**> joinThread("pthread_join");
CNext<pthread_t> detachThread("pthread_detach");
CNext<Mutex> lockMutex("pthread_mutex_lock");
CNext<Mutex> tryLockMutex("pthread_mutex_trylock");
CNext<Mutex> unlockMutex("pthread_mutex_unlock");
CNext<Mutex> destroyMutex("pthread_mutex_destroy");
CNext<Condition> destroyCondition("pthread_cond_destroy");
CNext<Condition, Mutex> waitFor("pthread_cond_wait");
CNext<Condition, Mutex, const timespec*> waitUntil("pthread_cond_timedwait");
CNext<Condition, Mutex, clockid_t, const timespec*> waitByClock("pthread_cond_clockwait");
CNext<Condition> notifyOne("pthread_cond_signal");
CNext<Condition> notifyAll("pthread_cond_broadcast");
CNext<pthread_once_t*, void (*)()> doOnce("pthread_once");
CNext<std::uint64_t*> acquireGuard("__cxa_guard_acquire");
CNext<std::uint64_t*> releaseGuard("__cxa_guard_release");
CNext<std::uint64_t*> abortGuard("__cxa_guard_abort");
CNext<clockid_t, timespec*> readClock("clock_gettime");
CNext<const timespec*, timespec*> sleepFor("nanosleep");
CNext<clockid_t, int, const timespec*, timespec*> sleepByClock("clock_nanosleep");
CNext<> yieldProcessor("sched_yield");

Nanoseconds ToTime(const timespec& time) {
    return time.tv_sec * kSecond + time.tv_nsec;
}

Nanoseconds ToDeadline(const timespec& time) {
    const Nanoseconds deadline = ToTime(time) - kBeginning;
    return deadline < 0 ? 0 : deadline;
}

// A static variable is made while others wait for it in a way that nobody sees from here.
class CUnit {
  public:
    CUnit() : scheduler_(CScheduler::Current()) {
        if (scheduler_ != nullptr) {
            scheduler_->BeginUnit();
        }
    }
    ~CUnit() {
        if (scheduler_ != nullptr) {
            scheduler_->EndUnit();
        }
    }
    CUnit(const CUnit&) = delete;
    CUnit& operator=(const CUnit&) = delete;

  private:
    CScheduler* const scheduler_;
};

}  // namespace

extern "C" {

// The sanitizers' own, where there are such; they stand before the system's, too.
int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*, Routine, void*)
    __attribute__((weak));
int __interceptor_pthread_join(pthread_t, void**) __attribute__((weak));

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, Routine routine,
                   void* argument) {
    CScheduler* const scheduler = CScheduler::Current();
    return scheduler != nullptr
               ? scheduler->CreateThread(thread, attributes, routine, argument)
               : Kyr::Proofs::Schedules::CreateSystemThread(thread, attributes, routine, argument);
}

int pthread_join(pthread_t thread, void** result) {
    CScheduler* const scheduler = CScheduler::Current();
    return scheduler != nullptr ? scheduler->JoinThread(thread, result)
                                : Kyr::Proofs::Schedules::JoinSystemThread(thread, result);
}

int pthread_detach(pthread_t thread) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->Report("a thread is let go that nobody will wait for");
    }
    return detachThread(thread);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->Lock(mutex);
        return 0;
    }
    return lockMutex(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        return scheduler->TryLock(mutex) ? 0 : EBUSY;
    }
    return tryLockMutex(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->Unlock(mutex);
        return 0;
    }
    return unlockMutex(mutex);
}

int pthread_mutex_destroy(pthread_mutex_t* mutex) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->CheckUnused(mutex);
    }
    return destroyMutex(mutex);
}

int pthread_cond_destroy(pthread_cond_t* condition) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->CheckUnused(condition);
    }
    return destroyCondition(condition);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->Wait(condition, mutex, -1);
        return 0;
    }
    return waitFor(condition, mutex);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                           const timespec* deadline) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        return scheduler->Wait(condition, mutex, ToDeadline(*deadline)) ? 0 : ETIMEDOUT;
    }
    return waitUntil(condition, mutex, deadline);
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                           const timespec* deadline) {
    if (CScheduler::Current() != nullptr) {
        return pthread_cond_timedwait(condition, mutex, deadline);
    }
    return waitByClock(condition, mutex, clock, deadline);
}

int pthread_cond_signal(pthread_cond_t* condition) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->Notify(condition, false);
        return 0;
    }
    return notifyOne(condition);
}

int pthread_cond_broadcast(pthread_cond_t* condition) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->Notify(condition, true);
        return 0;
    }
    return notifyAll(condition);
}

int pthread_once(pthread_once_t* once, void (*routine)()) {
    const CUnit unit;
    return doOnce(once, routine);
}

// Of the language's run-time library: a function's static variable is about to be made, was made,
// or could not be made.
int __cxa_guard_acquire(std::uint64_t* guard) {
    const int mine = acquireGuard(guard);
    if (CScheduler* const scheduler = CScheduler::Current(); scheduler != nullptr && mine != 0) {
        scheduler->BeginUnit();
    }
    return mine;
}

void __cxa_guard_release(std::uint64_t* guard) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->EndUnit();
    }
    releaseGuard(guard);
}

void __cxa_guard_abort(std::uint64_t* guard) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->EndUnit();
    }
    abortGuard(guard);
}

int clock_gettime(clockid_t clock, timespec* time) {
    const CScheduler* const scheduler = CScheduler::Current();
    const bool isOurs = clock != CLOCK_PROCESS_CPUTIME_ID && clock != CLOCK_THREAD_CPUTIME_ID;
    if (scheduler != nullptr && isOurs) {
        const Nanoseconds now = kBeginning + scheduler->Now();
        *time = {now / kSecond, now % kSecond};
        return 0;
    }
    return readClock(clock, time);
}

int nanosleep(const timespec* duration, timespec* rest) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->SleepUntil(scheduler->Now() + ToTime(*duration));
        return 0;
    }
    return sleepFor(duration, rest);
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* rest) {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        const bool isDeadline = (flags & TIMER_ABSTIME) != 0;
        scheduler->SleepUntil(isDeadline ? ToDeadline(*time) : scheduler->Now() + ToTime(*time));
        return 0;
    }
    return sleepByClock(clock, flags, time, rest);
}

int sched_yield() {
    if (CScheduler* const scheduler = CScheduler::Current()) {
        scheduler->Point("yields", nullptr);
        return 0;
    }
    return yieldProcessor();
}
}

namespace Kyr::Proofs::Schedules {

int CreateSystemThread(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                       void* argument) {
    return __interceptor_pthread_create != nullptr
               ? __interceptor_pthread_create(thread, attributes, routine, argument)
               : createThread(thread, attributes, routine, argument);
}

int JoinSystemThread(pthread_t thread, void** result) {
    return __interceptor_pthread_join != nullptr ? __interceptor_pthread_join(thread, result)
                                                 : joinThread(thread, result);
}

}  // namespace Kyr::Proofs::Schedules
