// A module in this process: keeps what is called of it, fails at one of it, and can be busy.
//
// Threads: those of the life cycle that drives it.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "host/kernel/IModule.h"

namespace Kyr::Test {

class CTestModule : public Common::Kernel::IModule {
  public:
    void Initialize(Common::Kernel::IResourceProvider& provider) override {
        lent = &provider;
        Take("Initialize");
    }
    void Start() override { Take("Start"); }
    void RequestStop() override { Take("RequestStop"); }
    bool Stop(bool force) override {
        Take(force ? "Stop(true)" : "Stop(false)");
        return force || busyFor-- <= 0;
    }
    std::string GetName() const override { return "tested"; }

    /// As a loader gives it out: destroyed with the last reference. Must outlive it.
    boost::shared_ptr<Common::Kernel::IModule> Loaded() {
        return {this, [](CTestModule* module) { module->Take("Destroy"); }};
    }

    std::vector<std::string> calls;
    std::string failing;  // the call that does
    int busyFor = 0;      // so many polite stops do not end it
    Common::Kernel::IResourceProvider* lent = nullptr;

  private:
    void Take(const std::string& call) {
        calls.push_back(call);
        if (call == failing) {
            throw std::runtime_error("no " + call);
        }
    }
};

}  // namespace Kyr::Test
