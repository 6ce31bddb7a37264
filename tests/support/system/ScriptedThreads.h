// Threads, events and window messages for CScriptedNative: real threads, events that really block,
// and a clock that stands still until it is moved, so that no wait lasts longer than a test wants.
//
// Threads: every operation may be called from any thread.
// Ownership: threads still running at destruction are joined; a test first lets them go.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "ntapi/Functions.h"

namespace Kyr::Test {

class CScriptedThreads {
  public:
    CScriptedThreads() = default;
    ~CScriptedThreads() { Join(); }
    /// Waits for every thread to end. REQUIRES: none is started any more.
    void Join();

    NtApi::Handle CreateThread(NtApi::ThreadRoutine routine, void* parameter);
    NtApi::Handle CreateEvent(bool manualReset, bool set);
    bool Set(NtApi::Handle event, bool set);
    bool Owns(NtApi::Handle handle) const;
    bool IsThread(NtApi::Handle handle) const;
    bool Close(NtApi::Handle handle);
    /// Waits for all of `handles`; time-outs count the scripted clock.
    std::uint32_t WaitForAll(const std::vector<NtApi::Handle>& handles, std::uint32_t milliseconds);
    /// Marks the thread; it runs on, since a thread cannot be ended from outside.
    bool Terminate(NtApi::Handle thread);
    std::uint32_t Now() const { return Read(now_); }
    /// Waits for the event or a queued window message.
    std::uint32_t WaitForEventOrMessage(NtApi::Handle event);
    /// Takes one window message out of the queue.
    bool TakeMessage();

    // For tests.
    void PostMessages(int count);
    /// Returns once some thread waits with this time-out.
    void AwaitWaiter(std::uint32_t milliseconds);
    void Advance(std::uint32_t milliseconds);
    int StartedThreads() const { return Read(started_); }
    int TerminatedThreads() const { return Read(terminated_); }
    /// What the threads that have ended by themselves returned, in order.
    std::vector<std::uint32_t> ExitCodes() const { return Read(exitCodes_); }
    std::size_t OpenHandles() const { return Read(objects_).size(); }
    /// The number of handles of each wait for several, in order.
    std::vector<std::size_t> WaitSizes() const { return Read(waitSizes_); }
    std::vector<std::uint32_t> WaitTimeouts() const { return Read(waitTimeouts_); }

  private:
    struct Object {
        bool isThread = false;
        bool manualReset = true;
        bool set = false;  // a thread is set when it has ended
    };
    using Lock = std::unique_lock<std::mutex>;
    NtApi::Handle Add(Object object);
    template <typename Value>
    Value Read(const Value& value) const {
        const Lock lock(mutex_);
        return value;
    }
    bool TakeAll(const std::vector<NtApi::Handle>& handles);

    mutable std::mutex mutex_;  // guards everything below
    std::condition_variable changed_;
    std::map<NtApi::Handle, std::shared_ptr<Object>> objects_;
    std::vector<std::thread> threads_;
    std::multimap<std::uint32_t, int> waiters_;  // by time-out
    std::vector<std::size_t> waitSizes_;
    std::vector<std::uint32_t> waitTimeouts_;
    std::vector<std::uint32_t> exitCodes_;
    std::uintptr_t nextHandle_ = 0x100000;
    std::uint32_t now_ = 0;
    int messages_ = 0;
    int started_ = 0;
    int terminated_ = 0;
};

}  // namespace Kyr::Test
