// A small host, with one fault or none, and what the probe says of it. The healthy one is what all
// others are, but for their fault.
//
// Threads: the test's; the module and the bus have one of their own each.
#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include <boost/core/ref.hpp>
#include <boost/make_shared.hpp>

#include "hostprobe/HostProbeModule.h"
#include "tests/hostprobe/FaultyBus.h"
#include "tests/support/host/FakeHost.h"

namespace Kyr::Test {

/// A clock whose time passes at once when the bus has nothing more to deliver, and never before.
class CPatience final : public Base::IClock {
  public:
    explicit CPatience(CFaultyBus& bus) : bus_(bus) {}

    std::int64_t CalendarTime() const override { return 0; }
    void SleepFor(std::chrono::milliseconds) override {}
    void Wait(Base::CCondition& condition, Base::CLock& lock) override { condition.Wait(lock); }
    bool WaitFor(Base::CCondition& condition, Base::CLock& lock,
                 std::chrono::milliseconds) override {
        return condition.WaitFor(lock, std::chrono::milliseconds(1)) || !bus_.IsIdle();
    }

  private:
    CFaultyBus& bus_;  // borrowed: it holds the subscribers, and they this
};

/// The module's life as a good host drives it.
inline void LiveWell(HostProbe::CHostProbeModule& module, CFakeHost& host) {
    module.Initialize(host);
    module.Start();
    module.RequestStop();
    while (!module.Stop(false)) {
        Base::SystemClock()->SleepFor(std::chrono::milliseconds(1));
    }
}

class HostProbeTest : public ::testing::Test {
  protected:
    HostProbeTest() { SetBus(BusFault::kNone); }

    void SetBus(BusFault fault) {
        bus_ = boost::make_shared<CFaultyBus>(fault);
        host_.Set(1, bus_);
    }

    HostProbe::ProbeSettings Settings() {
        HostProbe::ProbeSettings settings;
        settings.stream = &told_;
        settings.clock = boost::make_shared<CPatience>(boost::ref(*bus_));
        return settings;
    }

    void Examine() {
        HostProbe::CHostProbeModule module(Settings());
        LiveWell(module, host_);
    }

    /// The points with that verdict, in the order in which they were told.
    std::vector<std::string> Points(const std::string& verdict) const {
        std::vector<std::string> points;
        std::istringstream lines(told_.str());
        const std::string beginning = "HostProbe: " + verdict + " ";
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind(beginning, 0) == 0) {
                points.push_back(line.substr(beginning.size(),
                                             line.find(':', beginning.size()) - beginning.size()));
            }
        }
        return points;
    }
    std::vector<std::string> Wrong() const { return Points("WRONG"); }
    std::string Told() const { return told_.str(); }

    CFakeHost host_;
    boost::shared_ptr<CFaultyBus> bus_;

  private:
    std::ostringstream told_;
};

}  // namespace Kyr::Test
