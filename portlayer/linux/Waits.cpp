#include "portlayer/linux/Waits.h"

#include <array>
#include <condition_variable>

#include "portlayer/ClassicFunctions.h"

namespace Kyr::PortLayer {

namespace Detail {

namespace {

struct Dispatcher {
    std::mutex mutex;
    std::condition_variable changed;
};

// Made by the first call and never destroyed: threads may still wait at exit.
Dispatcher& TheDispatcher() {
    static Dispatcher* const dispatcher = new Dispatcher;
    return *dispatcher;
}

struct WaitSet {
    std::uint32_t count = 0;
    std::array<std::shared_ptr<CWaitable>, kMaximumWaitObjects> objects;
};

/// The index of the object that ends the wait; kWaitTimeout when none does yet.
std::uint32_t TryTake(WaitSet& set, bool waitAll) {
    std::uint32_t signalled = 0;
    for (std::uint32_t i = 0; i < set.count; ++i) {
        if (!set.objects[i]->IsSignalled()) {
            continue;
        }
        ++signalled;
        if (!waitAll) {
            set.objects[i]->Consume();
            return kWaitObject0 + i;
        }
    }
    if (!waitAll || signalled != set.count || set.count == 0) {
        return kWaitTimeout;
    }
    // All are taken at one moment or none: an object that is signalled alone stays so for others.
    for (std::uint32_t i = 0; i < set.count; ++i) {
        set.objects[i]->Consume();
    }
    return kWaitObject0;
}

std::uint32_t Wait(WaitSet& set, bool waitAll, const CDeadline& deadline) {
    Dispatcher& dispatcher = TheDispatcher();
    std::unique_lock<std::mutex> lock(dispatcher.mutex);
    for (;;) {
        // Before the deadline is looked at: a wait without time still takes what is there.
        const std::uint32_t result = TryTake(set, waitAll);
        if (result != kWaitTimeout) {
            return result;
        }
        if (deadline.IsNever()) {
            dispatcher.changed.wait(lock);
        } else if (deadline.HasPassed()) {
            return kWaitTimeout;
        } else {
            dispatcher.changed.wait_until(lock, deadline.At());
        }
    }
}

}  // namespace

std::unique_lock<std::mutex> WaitLock() {
    return std::unique_lock<std::mutex>(TheDispatcher().mutex);
}

void CWaitable::SetSignalled(bool signalled) {
    signalled_ = signalled;
    if (signalled) {
        // All of them: which objects a thread waits for it alone knows.
        TheDispatcher().changed.notify_all();
    }
}

}  // namespace Detail

using namespace Detail;

std::uint32_t KYR_NTAPI WaitForSingleObject(Handle handle, std::uint32_t milliseconds) {
    return WaitForMultipleObjects(1, &handle, 0, milliseconds);
}

std::uint32_t KYR_NTAPI WaitForMultipleObjects(std::uint32_t count, const Handle* handles,
                                               Bool waitAll, std::uint32_t milliseconds) {
    if (count == 0 || count > kMaximumWaitObjects || handles == nullptr) {
        return kWaitFailed;
    }
    const CDeadline deadline = CDeadline::FromMilliseconds(milliseconds);
    WaitSet set;
    for (std::uint32_t i = 0; i < count; ++i) {
        // The objects are held: closing a handle does not take it from under a thread that waits.
        auto object = FindObject(handles[i]);
        if (auto exclusive = std::dynamic_pointer_cast<CExclusiveWaitable>(object)) {
            return count == 1 ? exclusive->Wait(deadline) : kWaitFailed;
        }
        set.objects[i] = std::dynamic_pointer_cast<CWaitable>(object);
        if (!set.objects[i]) {
            return kWaitFailed;
        }
    }
    set.count = count;
    return Wait(set, waitAll != 0, deadline);
}

std::uint32_t KYR_NTAPI MsgWaitForMultipleObjects(std::uint32_t count, const Handle* handles,
                                                  Bool waitAll, std::uint32_t milliseconds,
                                                  std::uint32_t) {
    if (count != 0) {
        return WaitForMultipleObjects(count, handles, waitAll, milliseconds);
    }
    // Nothing but messages could end this wait, and there are none.
    WaitSet nothing;
    return Wait(nothing, false, CDeadline::FromMilliseconds(milliseconds));
}

}  // namespace Kyr::PortLayer
