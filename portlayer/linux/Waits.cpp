#include "portlayer/linux/Waits.h"

#include <algorithm>
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
    const auto begin = set.objects.begin();
    const auto end = begin + set.count;
    const auto isSignalled = [](const auto& object) { return object->IsSignalled(); };
    if (!waitAll) {
        const auto first = std::find_if(begin, end, isSignalled);
        if (first == end) {
            return kWaitTimeout;
        }
        (*first)->Consume();
        return kWaitObject0 + static_cast<std::uint32_t>(first - begin);
    }
    // All are taken at one moment or none: an object that is signalled alone stays so for others.
    if (!std::all_of(begin, end, isSignalled)) {
        return kWaitTimeout;
    }
    std::for_each(begin, end, [](const auto& object) { object->Consume(); });
    return kWaitObject0;
}

std::uint32_t Wait(WaitSet& set, bool waitAll, const CDeadline& deadline) {
    Dispatcher& dispatcher = TheDispatcher();
    std::unique_lock<std::mutex> lock(dispatcher.mutex);
    std::uint32_t result = kWaitTimeout;
    const auto taken = [&] {
        result = TryTake(set, waitAll);
        return result != kWaitTimeout;
    };
    // Both look first: a wait without time still takes what is there.
    if (deadline.IsNever()) {
        dispatcher.changed.wait(lock, taken);
    } else {
        dispatcher.changed.wait_until(lock, deadline.At(), taken);
    }
    return result;
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
