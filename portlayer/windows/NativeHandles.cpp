#include "portlayer/windows/NativeHandles.h"

#include <mutex>
#include <unordered_map>

#include "portlayer/windows/SystemHeader.h"

namespace Kyr::PortLayer::Detail {

namespace {

struct Counted {
    std::mutex mutex;
    std::unordered_map<NtApi::Handle, LiveCounter> handles;  // guarded by mutex
};

// Made by the first call and never destroyed: threads may still close handles at exit.
Counted& TheCounted() {
    static Counted* const counted = new Counted;
    return *counted;
}

}  // namespace

NtApi::Handle CountNative(NtApi::Handle handle, LiveCounter counter) {
    if (handle != nullptr) {
        Counted& counted = TheCounted();
        const std::lock_guard<std::mutex> lock(counted.mutex);
        counted.handles[handle] = counter;
        CounterCell(counter).fetch_add(1, std::memory_order_relaxed);
    }
    return handle;
}

bool CloseNative(NtApi::Handle handle) {
    Counted& counted = TheCounted();
    // Closed under the lock: the system may give the number to another object at once.
    const std::lock_guard<std::mutex> lock(counted.mutex);
    if (::CloseHandle(handle) == 0) {
        return false;
    }
    const auto found = counted.handles.find(handle);
    if (found != counted.handles.end()) {
        CounterCell(found->second).fetch_sub(1, std::memory_order_relaxed);
        counted.handles.erase(found);
    }
    return true;
}

}  // namespace Kyr::PortLayer::Detail
