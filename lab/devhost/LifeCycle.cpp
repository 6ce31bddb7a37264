#include "lab/devhost/LifeCycle.h"

#include <exception>

namespace Kyr::Lab::DevHost {

namespace {

/// How long a busy module is left alone before it is asked again (our choice).
constexpr std::chrono::milliseconds kAskAgain(100);

}  // namespace

CLifeCycle::CLifeCycle(Common::Kernel::IModule& module, std::function<void()> destroy,
                       LineSink events, boost::shared_ptr<Base::IClock> clock)
    : module_(module),
      destroy_(std::move(destroy)),
      events_(std::move(events)),
      clock_(std::move(clock)) {}

CLifeCycle::~CLifeCycle() {
    if (state_ == State::kRunning) {
        BeginStop(true);
    }
    if (stopThread_.joinable()) {
        WaitUntilDestroyed();
    }
    if (state_ == State::kCreated) {
        Destroy();
    }
}

bool CLifeCycle::Begin(Common::Kernel::IResourceProvider& provider) {
    const bool initialized = Call("Initialize", [&] {
        module_.Initialize(provider);
        return "ok";
    });
    if (!initialized) {
        Destroy();
        return false;
    }
    const bool started = Call("Start", [&] {
        module_.Start();
        return "ok";
    });
    if (!started) {
        BeginStop(true);
        WaitUntilDestroyed();
        return false;
    }
    state_ = State::kRunning;
    return true;
}

void CLifeCycle::BeginStop(bool force) {
    if (force) {
        force_ = true;
    }
    if (state_ == State::kStopping || state_ == State::kDestroyed) {
        return;
    }
    state_ = State::kStopping;
    stopThread_ = boost::thread([this] { StopThread(); });
}

void CLifeCycle::WaitUntilDestroyed() {
    const boost::this_thread::disable_interruption noInterruption;
    if (stopThread_.joinable()) {
        stopThread_.join();
    }
}

void CLifeCycle::StopThread() {
    Call("RequestStop", [&] {
        module_.RequestStop();
        return "ok";
    });
    for (bool stopped = false; !stopped;) {
        const bool forced = force_;
        const bool called = Call(forced ? "Stop(true)" : "Stop(false)", [&] {
            stopped = module_.Stop(forced);
            return stopped ? "true" : "false";
        });
        if (forced || !called) {
            // A module that fails here cannot be asked again with a better answer to hope for.
            break;
        }
        if (!stopped) {
            clock_->SleepFor(kAskAgain);
        }
    }
    Destroy();
}

void CLifeCycle::Destroy() {
    Call("destroy", [&] {
        destroy_();
        return "ok";
    });
    state_ = State::kDestroyed;
    if (destroyed_) {
        destroyed_();
    }
}

bool CLifeCycle::Call(const char* name, const std::function<std::string()>& call) {
    CLine line = CLine("life").With("call", name);
    try {
        line.With("result", call());
        events_(line);
        return true;
    } catch (const std::exception& exception) {
        events_(line.With("result", "failed").With("text", exception.what()));
        return false;
    }
}

}  // namespace Kyr::Lab::DevHost
