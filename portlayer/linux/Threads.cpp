// Threads: their handles are signalled when the routine has returned.
#include <algorithm>
#include <climits>
#include <condition_variable>
#include <memory>
#include <pthread.h>

#include "portlayer/ClassicFunctions.h"
#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/linux/Waits.h"
#include "portlayer/packets/PacketChannel.h"

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

    std::mutex mutex;
    std::condition_variable started;
    std::uint32_t threadId = 0;  // guarded by mutex
};

void* Run(void* argument) {
    const std::unique_ptr<std::shared_ptr<ThreadStart>> owner(
        static_cast<std::shared_ptr<ThreadStart>*>(argument));
    ThreadStart& start = **owner;
    {
        const std::lock_guard<std::mutex> lock(start.mutex);
        start.threadId = CurrentThreadId();
        start.started.notify_all();
    }
    start.routine(start.parameter);
    const auto lock = WaitLock();
    start.thread->SetSignalled(true);
    return nullptr;
}

bool Launch(const std::shared_ptr<ThreadStart>& start, std::size_t stackSize) {
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    // The C library refuses very small stacks, and takes a part of each for itself. The floor is
    // our choice.
    if (stackSize != 0) {
        ::pthread_attr_setstacksize(
            &attributes, std::max<std::size_t>(stackSize, static_cast<std::size_t>(256) * 1024));
    }
    auto argument = std::make_unique<std::shared_ptr<ThreadStart>>(start);
    pthread_t thread;
    const bool created = ::pthread_create(&thread, &attributes, Run, argument.get()) == 0;
    ::pthread_attr_destroy(&attributes);
    if (created) {
        static_cast<void>(argument.release());  // the thread deletes it
    }
    return created;
}

}  // namespace

Handle KYR_NTAPI CreateThread(void*, std::size_t stackSize, ThreadRoutine routine, void* parameter,
                              std::uint32_t flags, std::uint32_t* threadId) {
    // No creation flag is provided: a thread starts at once.
    if (routine == nullptr || flags != 0) {
        return nullptr;
    }
    const auto start = std::make_shared<ThreadStart>();
    start->routine = routine;
    start->parameter = parameter;
    start->thread = std::make_shared<CThread>();
    const Handle handle = AddHandle(start->thread);
    if (handle == nullptr) {
        return nullptr;
    }
    if (!Launch(start, stackSize)) {
        RemoveHandle(handle);
        return nullptr;
    }
    if (threadId != nullptr) {
        std::unique_lock<std::mutex> lock(start->mutex);
        // The id is known to the thread alone until it runs.
        start->started.wait(lock, [&start] { return start->threadId != 0; });
        *threadId = start->threadId;
    }
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
