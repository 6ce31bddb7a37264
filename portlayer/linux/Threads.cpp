// Threads: their handles are signalled when the routine has returned.
#include <exception>
#include <memory>
#include <thread>

#include "portlayer/ClassicFunctions.h"
#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/linux/Waits.h"

namespace Kyr::PortLayer {

namespace {

using namespace Detail;

/// Only the creator's handle counts as live: the thread may outlast it, as the system's threads do.
class CThread final : public CWaitable {
  public:
    void OnClose() override { live_.Reset(); }

  private:
    CLiveCount live_{LiveCounter::kThreads};
};

}  // namespace

Handle KYR_NTAPI CreateThread(void*, std::size_t, ThreadRoutine routine, void* parameter,
                              std::uint32_t flags, std::uint32_t* threadId) {
    // No creation flag is provided: a thread starts at once.
    if (routine == nullptr || flags != 0 || threadId != nullptr) {
        return nullptr;
    }
    const auto thread = std::make_shared<CThread>();
    const Handle handle = AddHandle(thread);
    if (handle == nullptr) {
        return nullptr;
    }
    try {
        std::thread([routine, parameter, thread] {
            routine(parameter);
            const auto lock = WaitLock();
            thread->SetSignalled(true);
        }).detach();
    } catch (const std::exception&) {  // no thread, or no memory for what it takes along
        RemoveHandle(handle);
        return nullptr;
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
