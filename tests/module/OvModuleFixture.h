// The Ov connector module in a fake host, with a product that is a script, a registration that the
// test sets, and a clock that the test moves.
#pragma once

#include <atomic>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "module/OvAgentConnectorModule.h"
#include "tests/support/host/FakeHost.h"
#include "tests/support/product/FakeBuildReader.h"
#include "tests/support/product/FakeKelcommClient.h"
#include "tests/support/time/Await.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::OvAgentConnector {

/// The module's own channel, whose stop a test can see.
class CObservedChannel final : public COvAgentChannel {
  public:
    using COvAgentChannel::COvAgentChannel;
    void Stop() override {
        ++stops;
        if (onStop) {
            onStop();
        }
        COvAgentChannel::Stop();
    }

    std::atomic<int> stops{0};
    std::function<void()> onStop;
};

/// The module with what only its core may call.
class CTestedModule final : public COvAgentConnectorModule {
  public:
    using COvAgentConnectorModule::Connect;
    using COvAgentConnectorModule::COvAgentConnectorModule;
    using COvAgentConnectorModule::CreateTasks;
    using COvAgentConnectorModule::Disconnect;
    using COvAgentConnectorModule::Interrupt;
    using COvAgentConnectorModule::IsProductInstalled;
};

class OvModuleFixture : public testing::Test {
  protected:
    using MessageType = Kyr::Common::Kernel::MessageType;
    using Strings = std::vector<std::string>;

    /// A product that answers everything with success and whose broadcast values are all -1.
    OvModuleFixture();
    ~OvModuleFixture() override;

    ModuleSystem System();
    void Initialize() { module_->Initialize(host_); }
    void InitializeAndConnect();
    /// Starts the module and waits until it has connected and looked at the product once.
    void StartAndConnect();
    /// Waits until the watch sleeps.
    bool AwaitWatchAsleep() { return clock_->AwaitSleepers(1); }
    /// Lets the watch look once more and waits until it sleeps again.
    void WatchOnceMore();

    /// From now on no ping is answered.
    void SilenceProduct();
    void SetBroadcast(std::int32_t index, std::int32_t value) { alpc_->SetBroadcast(index, value); }

    std::vector<MessageType> PublishedTypes() const;
    /// The kinds of the requests that the module published to itself.
    std::vector<int> PublishedKinds() const;
    /// What the product was asked for: the words at 8 of all requests.
    std::vector<std::uint32_t> InnerCommands() const;

    const boost::shared_ptr<Kyr::Test::CManualClock> clock_ =
        boost::make_shared<Kyr::Test::CManualClock>();
    const boost::shared_ptr<Kyr::Test::CFakeBuildReader> registration_ =
        boost::make_shared<Kyr::Test::CFakeBuildReader>();
    const boost::shared_ptr<Kyr::Test::KelcommScript> alpc_ =
        boost::make_shared<Kyr::Test::KelcommScript>();
    const boost::shared_ptr<Kyr::Test::KelcommScript> lpc_ =
        boost::make_shared<Kyr::Test::KelcommScript>();
    boost::shared_ptr<CObservedChannel> channel_;  // the module's
    Kyr::Test::CFakeHost host_;
    std::unique_ptr<CTestedModule> module_;
};

}  // namespace Kyr::Connectors::OvAgentConnector
