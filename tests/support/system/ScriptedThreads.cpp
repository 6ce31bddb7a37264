#include "tests/support/system/ScriptedThreads.h"

#include "ntapi/Status.h"

namespace Kyr::Test {

void CScriptedThreads::Join() {
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

NtApi::Handle CScriptedThreads::Add(Object object) {
    const auto handle = reinterpret_cast<NtApi::Handle>(nextHandle_);
    nextHandle_ += 4;
    objects_[handle] = std::make_shared<Object>(object);
    return handle;
}

NtApi::Handle CScriptedThreads::CreateThread(NtApi::ThreadRoutine routine, void* parameter) {
    const Lock lock(mutex_);
    Object object;
    object.isThread = true;
    const NtApi::Handle handle = Add(object);
    const std::shared_ptr<Object> self = objects_[handle];
    ++started_;
    threads_.emplace_back([this, routine, parameter, self] {
        const std::uint32_t code = routine(parameter);
        const Lock inner(mutex_);
        exitCodes_.push_back(code);
        self->set = true;
        changed_.notify_all();
    });
    return handle;
}

NtApi::Handle CScriptedThreads::CreateEvent(bool manualReset, bool set) {
    const Lock lock(mutex_);
    Object object;
    object.manualReset = manualReset;
    object.set = set;
    return Add(object);
}

bool CScriptedThreads::Set(NtApi::Handle event, bool set) {
    const Lock lock(mutex_);
    const auto found = objects_.find(event);
    if (found == objects_.end()) {
        return false;
    }
    found->second->set = set;
    changed_.notify_all();
    return true;
}

bool CScriptedThreads::Owns(NtApi::Handle handle) const {
    const Lock lock(mutex_);
    return objects_.count(handle) != 0;
}

bool CScriptedThreads::IsThread(NtApi::Handle handle) const {
    const Lock lock(mutex_);
    const auto found = objects_.find(handle);
    return found != objects_.end() && found->second->isThread;
}

bool CScriptedThreads::Close(NtApi::Handle handle) {
    const Lock lock(mutex_);
    return objects_.erase(handle) != 0;
}

bool CScriptedThreads::TakeAll(const std::vector<NtApi::Handle>& handles) {
    for (const NtApi::Handle handle : handles) {
        const auto found = objects_.find(handle);
        if (found == objects_.end() || !found->second->set) {
            return false;
        }
    }
    for (const NtApi::Handle handle : handles) {
        Object& object = *objects_.at(handle);
        object.set = object.manualReset || object.isThread;
    }
    return true;
}

std::uint32_t CScriptedThreads::WaitForAll(const std::vector<NtApi::Handle>& handles,
                                           std::uint32_t milliseconds) {
    Lock lock(mutex_);
    if (handles.size() > 1 || milliseconds != 0) {
        waitSizes_.push_back(handles.size());
        waitTimeouts_.push_back(milliseconds);
    }
    const std::uint32_t start = now_;
    const auto waiter = waiters_.emplace(milliseconds, 0);
    changed_.notify_all();
    std::uint32_t result = NtApi::kWaitObject0;
    while (!TakeAll(handles)) {
        if (milliseconds != NtApi::kInfinite && now_ - start >= milliseconds) {
            result = NtApi::kWaitTimeout;
            break;
        }
        changed_.wait(lock);
    }
    waiters_.erase(waiter);
    return result;
}

bool CScriptedThreads::Terminate(NtApi::Handle thread) {
    const Lock lock(mutex_);
    const auto found = objects_.find(thread);
    if (found == objects_.end() || !found->second->isThread) {
        return false;
    }
    ++terminated_;
    return true;
}

std::uint32_t CScriptedThreads::WaitForEventOrMessage(NtApi::Handle event) {
    Lock lock(mutex_);
    for (;;) {
        if (TakeAll({event})) {
            return NtApi::kWaitObject0;
        }
        if (messages_ > 0) {
            return NtApi::kWaitObject0 + 1;
        }
        changed_.wait(lock);
    }
}

bool CScriptedThreads::TakeMessage() {
    const Lock lock(mutex_);
    if (messages_ == 0) {
        return false;
    }
    --messages_;
    return true;
}

void CScriptedThreads::PostMessages(int count) {
    const Lock lock(mutex_);
    messages_ += count;
    changed_.notify_all();
}

void CScriptedThreads::AwaitWaiter(std::uint32_t milliseconds) {
    Lock lock(mutex_);
    changed_.wait(lock, [&] { return waiters_.count(milliseconds) != 0; });
}

void CScriptedThreads::Advance(std::uint32_t milliseconds) {
    const Lock lock(mutex_);
    now_ += milliseconds;
    changed_.notify_all();
}

}  // namespace Kyr::Test
