// Named mutexes: a robust, recursive mutex in a shared file. One whose owner died, thread or
// process, is handed on as abandoned.
#include <errno.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"
#include "portlayer/linux/LiveCounterCells.h"
#include "portlayer/linux/NamedFile.h"
#include "portlayer/linux/SharedPool.h"
#include "portlayer/linux/Waits.h"

namespace Kyr::PortLayer {

namespace {

using namespace Detail;

class CNamedMutex final : public CExclusiveWaitable {
  public:
    NtApi::NtStatus Open(const char16_t* name);
    NtApi::NtStatus OpenOrCreate(const char16_t* name);

    std::uint32_t Wait(const CDeadline& deadline) override;
    /// False when the calling thread does not own it.
    bool Release();

  private:
    NtApi::NtStatus Map(NtApi::NtStatus opened);
    pthread_mutex_t* Mutex() { return reinterpret_cast<pthread_mutex_t*>(mapping_.Base()); }
    int Lock(const CDeadline& deadline);

    const CLiveCount live_{ECounter::Mutexes};
    CNamedFile file_;
    CMapping mapping_;
};

bool InitialiseMutex(int file) {
    CMapping mapping;
    if (!mapping.Map(file, sizeof(pthread_mutex_t), PROT_READ | PROT_WRITE)) {
        return false;
    }
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    ::pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    auto* const mutex = reinterpret_cast<pthread_mutex_t*>(mapping.Base());
    const int result = ::pthread_mutex_init(mutex, &attributes);
    ::pthread_mutexattr_destroy(&attributes);
    return result == 0;
}

NtApi::NtStatus CNamedMutex::Open(const char16_t* name) {
    return Map(file_.Open(name, "mutex"));
}

NtApi::NtStatus CNamedMutex::OpenOrCreate(const char16_t* name) {
    return Map(file_.OpenOrCreate(name, "mutex", sizeof(pthread_mutex_t), InitialiseMutex));
}

NtApi::NtStatus CNamedMutex::Map(NtApi::NtStatus opened) {
    if (opened != NtApi::kStatusSuccess) {
        return opened;
    }
    const bool mapped =
        file_.Size() >= sizeof(pthread_mutex_t) &&
        mapping_.Map(file_.Descriptor(), sizeof(pthread_mutex_t), PROT_READ | PROT_WRITE);
    return mapped ? NtApi::kStatusSuccess : NtApi::kStatusNoMemory;
}

int CNamedMutex::Lock(const CDeadline& deadline) {
    if (deadline.IsNever()) {
        return ::pthread_mutex_lock(Mutex());
    }
    // First without a limit to reckon with; thread checkers, too, know this call, not the other.
    const int tried = ::pthread_mutex_trylock(Mutex());
    if (tried != EBUSY || deadline.HasPassed()) {
        return tried;
    }
    const auto at = deadline.At().time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(at);
    const timespec limit = {static_cast<time_t>(seconds.count()),
                            static_cast<long>(std::chrono::nanoseconds(at - seconds).count())};
    return ::pthread_mutex_clocklock(Mutex(), CLOCK_MONOTONIC, &limit);
}

std::uint32_t CNamedMutex::Wait(const CDeadline& deadline) {
    switch (Lock(deadline)) {
        case 0:
            return kWaitObject0;
        case EOWNERDEAD:
            ::pthread_mutex_consistent(Mutex());
            return kWaitAbandoned0;
        case EBUSY:
        case ETIMEDOUT:
            return kWaitTimeout;
        default:
            return kWaitFailed;
    }
}

bool CNamedMutex::Release() {
    // The unlock would find it out, too; checkers of lock use take an attempt for a mistake.
    const int owner = __atomic_load_n(&Mutex()->__data.__owner, __ATOMIC_RELAXED);
    return owner == ::gettid() && ::pthread_mutex_unlock(Mutex()) == 0;
}

}  // namespace

Handle KYR_NTAPI OpenMutexW(std::uint32_t, Bool, const char16_t* name) {
    auto mutex = std::make_shared<CNamedMutex>();
    return mutex->Open(name) == NtApi::kStatusSuccess ? AddHandle(std::move(mutex)) : nullptr;
}

Handle KYR_NTAPI CreateMutexW(void*, Bool initialOwner, const char16_t* name) {
    auto mutex = std::make_shared<CNamedMutex>();
    if (mutex->OpenOrCreate(name) != NtApi::kStatusSuccess) {
        return nullptr;
    }
    // An existing mutex is not taken, as the system does not take it either.
    if (initialOwner != 0) {
        mutex->Wait(CDeadline::Now());
    }
    return AddHandle(std::move(mutex));
}

Bool KYR_NTAPI ReleaseMutex(Handle handle) {
    const auto mutex = Find<CNamedMutex>(handle);
    return mutex && mutex->Release() ? 1 : 0;
}

}  // namespace Kyr::PortLayer
