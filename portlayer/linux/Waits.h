// Objects of this process that threads wait for: events and threads.
//
// One lock and one condition stand under all of them: there are few, and waits for several objects
// stay simple. Named mutexes, which other processes share, are waited for on their own
// (CExclusiveWaitable).
// Threads: any.
#pragma once

#include <cstdint>
#include <mutex>

#include "portlayer/core/Deadline.h"
#include "portlayer/core/Handles.h"

namespace Kyr::PortLayer::Detail {

// Results of waits, under the values of the classic API.
constexpr std::uint32_t kWaitObject0 = 0;
constexpr std::uint32_t kWaitAbandoned0 = 0x80;
constexpr std::uint32_t kWaitTimeout = 0x102;
constexpr std::uint32_t kWaitFailed = 0xFFFFFFFF;
constexpr std::uint32_t kMaximumWaitObjects = 64;

class CWaitable : public CObject {
  public:
    // REQUIRE: the lock of WaitLock() is held.
    bool IsSignalled() const { return signalled_; }
    virtual void Consume() {}
    void SetSignalled(bool signalled);

  protected:
    bool signalled_ = false;  // guarded by WaitLock()
};

/// The lock of every CWaitable.
std::unique_lock<std::mutex> WaitLock();

/// An object that can only be waited for alone.
class CExclusiveWaitable : public CObject {
  public:
    /// A wait result.
    virtual std::uint32_t Wait(const CDeadline& deadline) = 0;
};

}  // namespace Kyr::PortLayer::Detail
