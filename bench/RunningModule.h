// The real module in a host that drops its log but for one line, which it counts.
//
// Threads: any counts and waits; made and destroyed by one.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include <boost/make_shared.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include "module/OvAgentConnectorModule.h"
#include "tests/support/host/FakeHost.h"
#include "tests/support/product/FakeBuildReader.h"

namespace Kyr::Bench {

/// What others can wait for until there are enough of it.
class CCounter {
  public:
    void Count() {
        const boost::unique_lock<boost::mutex> lock(mutex_);
        ++count_;
        counted_.notify_all();
    }
    void Await(std::uint64_t count) {
        boost::unique_lock<boost::mutex> lock(mutex_);
        counted_.wait(lock, [&] { return count_ >= count; });
    }

  private:
    boost::mutex mutex_;
    boost::condition_variable counted_;
    std::uint64_t count_ = 0;  // guarded by mutex_
};

/// The module over real ports, started; `lines` counts the lines with that text.
class CRunningModule {
  public:
    explicit CRunningModule(const std::string& text) {
        host.log->SetRecording(false);
        host.log->OnLine([this, text](const Test::LogEntry& entry) {
            if (entry.text == text) {
                lines.Count();
            }
        });
        Connectors::OvAgentConnector::ModuleSystem system;
        system.productBuild = boost::make_shared<Test::CFakeBuildReader>();
        module = std::make_unique<Connectors::OvAgentConnector::COvAgentConnectorModule>(system);
        module->Initialize(host);
        module->Start();
    }
    CRunningModule(const CRunningModule&) = delete;
    CRunningModule& operator=(const CRunningModule&) = delete;
    ~CRunningModule() { module->Stop(true); }

    CCounter lines;
    Test::CFakeHost host;
    std::unique_ptr<Connectors::OvAgentConnector::COvAgentConnectorModule> module;
};

}  // namespace Kyr::Bench
