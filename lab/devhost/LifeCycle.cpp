#include "lab/devhost/LifeCycle.h"

#include <exception>
#include <stdexcept>

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
    if (state_ != State::kStopping) {
        BeginStop(true);
    }
    WaitUntilDestroyed();
}

bool CLifeCycle::Begin(Common::Kernel::IResourceProvider& provider) {
    if (Initialize(provider) && Start()) {
        return true;
    }
    BeginStop(true);
    WaitUntilDestroyed();
    return false;
}

void CLifeCycle::BeginStop(bool force) {
    if (force) {
        force_ = true;
    }
    if (state_ == State::kCreated) {
        Destroy();
    } else if (state_ == State::kInitialized) {
        state_ = State::kStopping;
        stopThread_ = boost::thread([this] { StopThread(); });
    }
}

std::map<std::string, std::function<void()>> CLifeCycle::SingleCalls(
    Common::Kernel::IResourceProvider& provider) {
    const auto single = [this](auto call) {
        return [this, call] {
            if (state_ == State::kStopping || state_ == State::kDestroyed) {
                throw std::runtime_error("the module is stopped or has been destroyed");
            }
            call();
        };
    };
    return {{"initialize", single([this, &provider] { Initialize(provider); })},
            {"start", single([this] { Start(); })},
            {"request-stop", single([this] { RequestStop(); })},
            {"stop", single([this] { Stop(false); })},
            {"stop force", single([this] { Stop(true); })},
            {"destroy", single([this] { Destroy(); })}};
}

void CLifeCycle::WaitUntilDestroyed() {
    const boost::this_thread::disable_interruption noInterruption;
    if (stopThread_.joinable()) {
        stopThread_.join();
    }
}

void CLifeCycle::StopThread() {
    RequestStop();
    for (;;) {
        const bool forced = force_;
        // A module that fails here cannot be asked again with a better answer to hope for.
        const bool stopped = Stop(forced).value_or(true);
        if (forced || stopped) {
            break;
        }
        clock_->SleepFor(kAskAgain);
    }
    Destroy();
}

bool CLifeCycle::Initialize(Common::Kernel::IResourceProvider& provider) {
    const bool initialized = Call("Initialize", [&] {
        module_.Initialize(provider);
        return "ok";
    });
    if (initialized) {
        state_ = State::kInitialized;
    }
    return initialized;
}

bool CLifeCycle::Start() {
    return Call("Start", [&] {
        module_.Start();
        return "ok";
    });
}

void CLifeCycle::RequestStop() {
    Call("RequestStop", [&] {
        module_.RequestStop();
        return "ok";
    });
}

std::optional<bool> CLifeCycle::Stop(bool force) {
    std::optional<bool> stopped;
    Call(force ? "Stop(true)" : "Stop(false)", [&] {
        stopped = module_.Stop(force);
        return *stopped ? "true" : "false";
    });
    return stopped;
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
