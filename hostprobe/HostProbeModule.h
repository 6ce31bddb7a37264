// A module that examines the host that has loaded it: what it lends, how its bus delivers, and how
// it drives a module's life.
//
// The host drives it in the order that IModule gives. Resources are looked at by Initialize, all
// else on a thread of its own from Start on; Stop(false) is busy until that has ended, and at
// least once. What the life was like is told by the destructor, with the last line.
// Threads: the life cycle one call at a time; it notes when that is not so.
// Ownership: the settings' stream must outlive the module.
// Errors: what the host throws becomes a point that is wrong. Initialize throws std::runtime_error
//   if the settings ask for it.
#pragma once

#include <chrono>
#include <memory>
#include <ostream>
#include <string>

#include <boost/thread/thread.hpp>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "host/kernel/IModule.h"
#include "hostprobe/Report.h"
#include "hostprobe/Resources.h"

namespace Kyr::HostProbe {

struct ProbeSettings {
    std::ostream* stream = nullptr;  // borrowed
    boost::shared_ptr<Base::IClock> clock = Base::SystemClock();
    /// How long the bus may take for a message.
    std::chrono::milliseconds patience = std::chrono::seconds(5);
    /// Whether Initialize ends with an exception, for the host to survive.
    bool failToInitialize = false;
};

class CHostProbeModule final : public Common::Kernel::IModule {
  public:
    explicit CHostProbeModule(const ProbeSettings& settings);
    CHostProbeModule(const CHostProbeModule&) = delete;
    CHostProbeModule& operator=(const CHostProbeModule&) = delete;
    ~CHostProbeModule() override;

    void Initialize(Common::Kernel::IResourceProvider& provider) override;
    void Start() override;
    void RequestStop() override;
    bool Stop(bool force) override;
    /// "HostProbe".
    std::string GetName() const override;

    /// The library is about to go while this module is still there.
    void LibraryGoes();

  private:
    void CheckInThread();
    void ThreadBody();
    void EndThread();
    bool HasThreadDone();
    void TellOfLife();

    const ProbeSettings settings_;
    CReport report_;
    HostResources resources_;

    // The host's calls so far.
    bool initialized_ = false;
    bool failed_ = false;
    bool started_ = false;
    bool stopRequested_ = false;
    int stopsAsked_ = 0;
    bool stopped_ = false;
    std::string outOfOrder_;  // the first call that was

    Base::CMutex mutex_;
    Base::CCondition changed_;
    bool done_ KYR_GUARDED_BY(mutex_) = false;
    std::unique_ptr<boost::thread> thread_;
};

}  // namespace Kyr::HostProbe
