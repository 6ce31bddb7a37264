#include "lab/devhost/LifeCycle.h"

#include <exception>
#include <map>
#include <stdexcept>

namespace Kyr::Lab::DevHost {

namespace {

/// How long a busy module is left alone before it is asked again (our choice).
constexpr std::chrono::milliseconds kAskAgain(100);

}  // namespace

CLifeCycle::CLifeCycle(boost::shared_ptr<Common::Kernel::IModule> module,
                       Common::Kernel::IResourceProvider& lent, LineSink events,
                       boost::shared_ptr<Base::IClock> clock)
    : module_(std::move(module)),
      lent_(lent),
      events_(std::move(events)),
      clock_(std::move(clock)) {}

CLifeCycle::~CLifeCycle() {
    if (state_ != State::kStopping) {
        BeginStop(true);
    }
    WaitUntilDestroyed();
}

bool CLifeCycle::Begin() {
    if (Initialize() && Start()) {
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

std::function<void()> CLifeCycle::SingleCall(const std::string& name) {
    const std::map<std::string, std::function<void()>> calls = {
        {"initialize", [this] { Initialize(); }},    {"start", [this] { Start(); }},
        {"request-stop", [this] { RequestStop(); }}, {"stop", [this] { Stop(false); }},
        {"stop force", [this] { Stop(true); }},      {"destroy", [this] { Destroy(); }}};
    const auto found = calls.find(name);
    if (found == calls.end()) {
        throw std::invalid_argument("no such call: " + name);
    }
    return [this, call = found->second] {
        if (state_ == State::kStopping || state_ == State::kDestroyed) {
            throw std::runtime_error("the module is stopped or has been destroyed");
        }
        call();
    };
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

bool CLifeCycle::Initialize() {
    const bool initialized = Call("Initialize", [&] {
        module_->Initialize(lent_);
        return "ok";
    });
    if (initialized) {
        state_ = State::kInitialized;
    }
    return initialized;
}

bool CLifeCycle::Start() {
    return Call("Start", [&] {
        module_->Start();
        return "ok";
    });
}

void CLifeCycle::RequestStop() {
    Call("RequestStop", [&] {
        module_->RequestStop();
        return "ok";
    });
}

std::optional<bool> CLifeCycle::Stop(bool force) {
    std::optional<bool> stopped;
    Call(force ? "Stop(true)" : "Stop(false)", [&] {
        stopped = module_->Stop(force);
        return *stopped ? "true" : "false";
    });
    return stopped;
}

void CLifeCycle::Destroy() {
    Call("destroy", [&] {
        if (module_.use_count() != 1) {
            throw std::runtime_error("the module is held elsewhere");
        }
        module_.reset();
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
