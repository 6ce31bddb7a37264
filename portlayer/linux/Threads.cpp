// Threads: their handles are signalled when the routine has returned.
#include <memory>
#include <pthread.h>

#include "portlayer/ClassicFunctions.h"
#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/linux/Waits.h"

namespace Kyr::PortLayer {

namespace {

using namespace Detail;

/// Only the creator's handle counts as live: the thread may outlast it, as the system's threads do.
class CThread final : public CWaitable {
  public:
    void OnClose() override { live_.reset(); }

  private:
    std::unique_ptr<CLiveCount> live_ = std::make_unique<CLiveCount>(LiveCounter::kThreads);
};

/// What a new thread takes with it.
struct ThreadStart {
    ThreadRoutine routine;
    void* parameter;
    std::shared_ptr<CThread> thread;
};

void* Run(void* argument) {
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
    start->routine(start->parameter);
    const auto lock = WaitLock();
    start->thread->SetSignalled(true);
    return nullptr;
}

}  // namespace

Handle KYR_NTAPI CreateThread(void*, std::size_t, ThreadRoutine routine, void* parameter,
                              std::uint32_t flags, std::uint32_t* threadId) {
    // No creation flag is provided: a thread starts at once.
    if (routine == nullptr || flags != 0 || threadId != nullptr) {
        return nullptr;
    }
    auto thread = std::make_shared<CThread>();
    auto start = std::make_unique<ThreadStart>(ThreadStart{routine, parameter, thread});
    const Handle handle = AddHandle(std::move(thread));
    if (handle == nullptr) {
        return nullptr;
    }
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t created;
    const int failure = ::pthread_create(&created, &attributes, Run, start.get());
    ::pthread_attr_destroy(&attributes);
    if (failure != 0) {
        RemoveHandle(handle);
        return nullptr;
    }
    static_cast<void>(start.release());  // the thread deletes it
    return handle;
}

Bool KYR_NTAPI TerminateThread(Handle handle, std::uint32_t) {
    const auto thread = Find<CThread>(handle);
    if (!thread) {
        return 0;
    }
    const auto lock = WaitLock();
    // There is no way to end a running thread here (README.md).
    return thread->IsSignalled() ? 1 : 0;
}

}  // namespace Kyr::PortLayer
