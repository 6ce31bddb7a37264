// Drives one module through its life: exactly in the order of the contract (Initialize, Start,
// RequestStop, Stop(false) until it is true or Stop(true), destroy), or by single calls in any
// order. Every call is a `life` event.
//
// The stop runs on a thread of its own, so that a person can still ask for force while a busy
// module is asked again and again.
//
// Threads: one thread calls; the stop thread is the life cycle's own.
// Errors: a call that fails is told in its event. Destroying fails when someone else holds the
// module still, which then is not called any more, as if it had been destroyed; the module's own
// destructor must not throw. A single call is a std::runtime_error when there is nothing to call
// any more.
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>

#include "base/Clock.h"
#include "host/kernel/IModule.h"
#include "lab/common/LineWriter.h"

namespace Kyr::Lab::DevHost {

class CLifeCycle {
  public:
    /// `module` is the last reference to it. `lent` must outlive this.
    CLifeCycle(boost::shared_ptr<Common::Kernel::IModule> module,
               Common::Kernel::IResourceProvider& lent, LineSink events,
               boost::shared_ptr<Base::IClock> clock);
    CLifeCycle(const CLifeCycle&) = delete;
    CLifeCycle& operator=(const CLifeCycle&) = delete;
    /// Waits for the stop when one has begun; destroys a module that was never started.
    ~CLifeCycle();

    /// Initialize and Start. False when one of them threw; the module is destroyed then.
    bool Begin();

    /// Begins the stop; with `force` the next Stop is a forced one. Does nothing more when the stop
    /// has already begun, except that force can be added. A module that is not initialized is only
    /// destroyed.
    void BeginStop(bool force);
    /// A single call of the module, by what a person types for it; it returns when the module does.
    /// Errors: std::invalid_argument for a text that names none.
    std::function<void()> SingleCall(const std::string& name);

    /// REQUIRES: BeginStop. Returns when the module has been destroyed.
    void WaitUntilDestroyed();

    /// Calls `notify` on the stop thread once the module has been destroyed. REQUIRES: the stop has
    /// not begun.
    void WhenDestroyed(std::function<void()> notify) { destroyed_ = std::move(notify); }
    bool IsDestroyed() const { return state_ == State::kDestroyed; }
    /// REQUIRES: the stop has not begun.
    std::string ModuleName() const { return module_->GetName(); }

  private:
    enum class State { kCreated, kInitialized, kStopping, kDestroyed };

    // False when they failed.
    bool Initialize();
    bool Start();
    void RequestStop();
    std::optional<bool> Stop(bool force);  // nothing when it failed
    void Destroy();
    bool Call(const char* name, const std::function<std::string()>& call);
    void StopThread();

    boost::shared_ptr<Common::Kernel::IModule> module_;
    Common::Kernel::IResourceProvider& lent_;  // borrowed
    const LineSink events_;
    const boost::shared_ptr<Base::IClock> clock_;
    std::atomic<State> state_{State::kCreated};
    std::atomic<bool> force_{false};
    std::function<void()> destroyed_;  // of the owner until the stop begins, then the stop thread's
    boost::thread stopThread_;
};

}  // namespace Kyr::Lab::DevHost
