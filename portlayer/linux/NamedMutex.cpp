// Named mutexes: a robust, recursive mutex in a shared file. One whose owner died, thread or
// process, is handed on as abandoned.
//
// The system keeps a list through the mutexes that a thread owns, in their own memory. So a handle
// that is closed while a thread of this process owns the mutex leaves its page mapped for good.
#include <cerrno>
#include <csignal>
#include <linux/futex.h>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"
#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/linux/MapFile.h"
#include "portlayer/linux/NamedFile.h"
#include "portlayer/linux/Waits.h"
#include "portlayer/packets/SharedMemory.h"

#if defined(__SANITIZE_THREAD__)
#define KYR_CHECKS_THREADS
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KYR_CHECKS_THREADS
#endif
#endif
#ifdef KYR_CHECKS_THREADS
#include <sanitizer/tsan_interface.h>
#endif

namespace Kyr::PortLayer {

namespace {

/// Locks the mutex, at most until `limit` on the monotonic clock. The thread checker does not know
/// this call of the system, so that it must be told.
int LockUntil(pthread_mutex_t* mutex, const timespec& limit) {
#ifdef KYR_CHECKS_THREADS
    __tsan_mutex_pre_lock(mutex, __tsan_mutex_try_lock);
#endif
    const int result = ::pthread_mutex_clocklock(mutex, CLOCK_MONOTONIC, &limit);
#ifdef KYR_CHECKS_THREADS
    const bool locked = result == 0 || result == EOWNERDEAD;
    const unsigned failed = locked ? 0 : __tsan_mutex_try_lock_failed;
    __tsan_mutex_post_lock(mutex, __tsan_mutex_try_lock | failed, 1);
#endif
    return result;
}

using namespace Detail;

class CNamedMutex final : public CExclusiveWaitable {
  public:
    ~CNamedMutex() override;

    NtApi::NtStatus Open(const char16_t* name);
    /// A new mutex, not one that is there, belongs to the calling thread when `owned`.
    NtApi::NtStatus OpenOrCreate(const char16_t* name, bool owned);

    std::uint32_t Wait(const CDeadline& deadline) override;
    void OnClose() override { live_.Reset(); }
    /// False when the calling thread does not own it.
    bool Release();

  private:
    NtApi::NtStatus Map(NtApi::NtStatus opened);
    bool MapMutex(int file);
    bool Initialise(int file, bool owned);
    /// Of a mutex that nobody else has seen.
    void Discard();
    /// A thread of this process owns it.
    bool IsOwnedHere();
    pthread_mutex_t* Mutex() { return reinterpret_cast<pthread_mutex_t*>(mapping_.Base()); }
    int Lock(const CDeadline& deadline);
    /// Counts the caller among the users; the first one takes the file that has the name by now.
    void BeginUse();
    void EndUse();

    // Only the handle counts as live.
    CLiveCount live_{LiveCounter::kMutexes};
    CNamedFile file_;
    CMapping mapping_;
    std::mutex useMutex_;
    int users_ = 0;  // threads that wait, and how often it was taken here; guarded by useMutex_
};

CNamedMutex::~CNamedMutex() {
    // Also one that a thread came to own while it waited and the handle was closed.
    if (mapping_.Base() != nullptr && IsOwnedHere()) {
        mapping_.Leave();
    }
}

bool CNamedMutex::MapMutex(int file) {
    return MapFile(file, sizeof(pthread_mutex_t), PROT_READ | PROT_WRITE, mapping_);
}

bool CNamedMutex::Initialise(int file, bool owned) {
    // Called again when another process had the name first and is gone by now.
    Discard();
    if (!MapMutex(file)) {
        return false;
    }
    pthread_mutexattr_t attributes;
    ::pthread_mutexattr_init(&attributes);
    ::pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    ::pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    const int result = ::pthread_mutex_init(Mutex(), &attributes);
    ::pthread_mutexattr_destroy(&attributes);
    // Owned before the file has a name: nobody can be first.
    users_ = owned ? 1 : 0;
    return result == 0 && (!owned || ::pthread_mutex_trylock(Mutex()) == 0);
}

void CNamedMutex::Discard() {
    if (mapping_.Base() != nullptr) {
        Release();
        mapping_.Unmap();
    }
}

NtApi::NtStatus CNamedMutex::Open(const char16_t* name) {
    return Map(file_.Open(NameOf(name), "mutex"));
}

NtApi::NtStatus CNamedMutex::OpenOrCreate(const char16_t* name, bool owned) {
    const NtApi::NtStatus status =
        file_.OpenOrCreate(NameOf(name), "mutex", sizeof(pthread_mutex_t),
                           [this, owned](int file) { return Initialise(file, owned); });
    if (status == NtApi::kStatusSuccess && file_.WasCreated()) {
        return status;
    }
    // What was initialised here is not the mutex that has the name.
    Discard();
    return Map(status);
}

NtApi::NtStatus CNamedMutex::Map(NtApi::NtStatus opened) {
    if (opened != NtApi::kStatusSuccess) {
        return opened;
    }
    // Memory behind the end of a file cannot be touched: a shorter file is none of ours.
    const bool mapped = file_.Size() >= sizeof(pthread_mutex_t) && MapMutex(file_.Descriptor());
    return mapped ? NtApi::kStatusSuccess : NtApi::kStatusNoMemory;
}

int CNamedMutex::Lock(const CDeadline& deadline) {
    if (deadline.IsNever()) {
        return ::pthread_mutex_lock(Mutex());
    }
    // First without a limit to reckon with.
    const int tried = ::pthread_mutex_trylock(Mutex());
    if (tried != EBUSY || deadline.HasPassed()) {
        return tried;
    }
    const auto at = deadline.At().time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(at);
    const timespec limit = {static_cast<time_t>(seconds.count()),
                            static_cast<long>(std::chrono::nanoseconds(at - seconds).count())};
    return LockUntil(Mutex(), limit);
}

bool CNamedMutex::IsOwnedHere() {
    // A robust mutex holds the thread id of its owner, so that the system finds it when that thread
    // dies. Signal 0 is not sent: it only asks whether our process has such a thread.
    const int owner = __atomic_load_n(&Mutex()->__data.__lock, __ATOMIC_RELAXED) & FUTEX_TID_MASK;
    return owner != 0 && ::syscall(SYS_tgkill, ::getpid(), owner, 0) == 0;
}

void CNamedMutex::BeginUse() {
    const std::lock_guard<std::mutex> lock(useMutex_);
    if (users_++ == 0 && file_.Renew()) {
        RemapFile(file_.Descriptor(), PROT_READ | PROT_WRITE, mapping_);
    }
}

void CNamedMutex::EndUse() {
    const std::lock_guard<std::mutex> lock(useMutex_);
    --users_;
}

std::uint32_t CNamedMutex::Wait(const CDeadline& deadline) {
    BeginUse();
    const int result = Lock(deadline);
    if (result != 0 && result != EOWNERDEAD) {
        EndUse();
    }
    switch (result) {
        case 0:
            return kWaitObject0;
        // The owner died, and this thread owns the mutex now. Unless it is declared consistent it
        // could never be locked again after its release.
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
    if (owner != ::gettid() || ::pthread_mutex_unlock(Mutex()) != 0) {
        return false;
    }
    EndUse();
    return true;
}

}  // namespace

Handle KYR_NTAPI OpenMutexW(std::uint32_t, Bool, const char16_t* name) {
    auto mutex = std::make_shared<CNamedMutex>();
    return mutex->Open(name) == NtApi::kStatusSuccess ? AddHandle(std::move(mutex)) : nullptr;
}

Handle KYR_NTAPI CreateMutexW(void*, Bool initialOwner, const char16_t* name) {
    auto mutex = std::make_shared<CNamedMutex>();
    if (mutex->OpenOrCreate(name, initialOwner != 0) != NtApi::kStatusSuccess) {
        return nullptr;
    }
    return AddHandle(std::move(mutex));
}

Bool KYR_NTAPI ReleaseMutex(Handle handle) {
    const auto mutex = Find<CNamedMutex>(handle);
    return mutex && mutex->Release() ? 1 : 0;
}

}  // namespace Kyr::PortLayer
