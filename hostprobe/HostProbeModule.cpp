#include "hostprobe/HostProbeModule.h"

#include <stdexcept>

#include "hostprobe/BusChecks.h"
#include "hostprobe/LentChecks.h"
#include "hostprobe/ProcessChecks.h"

namespace Kyr::HostProbe {

CHostProbeModule::CHostProbeModule(const ProbeSettings& settings)
    : settings_(settings), report_(*settings.stream) {}

CHostProbeModule::~CHostProbeModule() {
    TellOfLife();
    EndThread();
    report_.Finish();
}

void CHostProbeModule::Initialize(Common::Kernel::IResourceProvider& provider) {
    if (initialized_ && outOfOrder_.empty()) {
        outOfOrder_ = "a second Initialize";
    }
    initialized_ = true;
    if (thread_) {
        return;  // it looks at what it was lent before
    }
    resources_ = CheckResources(provider, report_);
    CheckProcess(report_);
    if (settings_.failToInitialize) {
        failed_ = true;
        throw std::runtime_error("HostProbe: an exception of Initialize, as it was asked for");
    }
}

void CHostProbeModule::Start() {
    if ((!initialized_ || failed_ || started_) && outOfOrder_.empty()) {
        outOfOrder_ = started_ ? "a second Start" : "Start before Initialize has succeeded";
    }
    started_ = true;
    // Without resources there is nothing to look at.
    if (initialized_ && !failed_ && !thread_ && !stopped_) {
        thread_ = std::make_unique<boost::thread>([this] { ThreadBody(); });
    }
}

void CHostProbeModule::RequestStop() {
    stopRequested_ = true;
}

bool CHostProbeModule::Stop(bool force) {
    if (!stopRequested_ && outOfOrder_.empty()) {
        outOfOrder_ = "Stop without RequestStop";
    }
    ++stopsAsked_;
    if (!force && thread_ && (stopsAsked_ == 1 || !HasThreadDone())) {
        return false;
    }
    EndThread();
    stopped_ = true;
    return true;
}

std::string CHostProbeModule::GetName() const {
    return "HostProbe";
}

void CHostProbeModule::LibraryGoes() {
    report_.Tell(Verdict::kWrong, "life-library",
                 "the library goes, unloaded or with its process, while a module of it is there");
    report_.Finish();
}

void CHostProbeModule::ThreadBody() {
    try {
        CheckInThread();
    } catch (const boost::thread_interrupted&) {
        report_.Tell(Verdict::kNotTried, "the rest", "the module was stopped by force");
    }
    const Base::CLock lock(mutex_);
    done_ = true;
}

void CHostProbeModule::CheckInThread() {
    if (resources_.log) {
        CheckLog(*resources_.log, report_);
    }
    if (resources_.keyValues) {
        CheckKeyValues(*resources_.keyValues, report_);
    }
    if (resources_.actions) {
        CheckActions(*resources_.actions, report_);
    }
    if (resources_.bus) {
        CheckBus(*resources_.bus, settings_.clock, settings_.patience, report_);
    }
}

void CHostProbeModule::EndThread() {
    if (thread_) {
        const boost::this_thread::disable_interruption joinIsNoWayOut;
        thread_->interrupt();
        thread_->join();
        thread_.reset();
    }
}

bool CHostProbeModule::HasThreadDone() {
    const Base::CLock lock(mutex_);
    return done_;
}

void CHostProbeModule::TellOfLife() {
    report_.Judge(outOfOrder_.empty(), "life-order",
                  "Initialize, Start, RequestStop and Stop come in this order",
                  "the module's life is out of order: " + outOfOrder_);
    if (failed_) {
        report_.Tell(Verdict::kFine, "exceptions-out",
                     "the host has taken an exception of Initialize, and destroys the module");
    }
    if (!started_) {
        report_.Tell(Verdict::kNotTried, "life-threads", "the module was not started");
        return;
    }
    report_.Judge(stopped_, "life-threads",
                  "Stop was called until it returned true, and the module destroyed behind it",
                  stopsAsked_ == 0 ? "the module is destroyed without Stop: its threads ran on"
                                   : "the module is destroyed though Stop returned false: its "
                                     "threads ran on");
}

}  // namespace Kyr::HostProbe
