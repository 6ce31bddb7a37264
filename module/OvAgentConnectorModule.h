// The Ov connector module: joins the host to the Ov agent on the same computer. It knows whether
// the product is installed, makes the channel and the tasks, tells the product which agent this is
// and the host of the product, and keeps watch while it is connected.
//
// Created by the library's meta-object, driven by the host in the order that IModule gives. A
// module whose product is not installed when it is initialized stays inactive for good.
// Threads: see CConnectorModule. The periodic thread lives from a successful Connect to the next
// Interrupt; it has no part in the requests to the product, see CPeriodicWatch.
// Errors: see CConnectorModule. Initialize also throws what the product build reader throws.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <boost/thread/thread.hpp>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "connector/ConnectorModule.h"
#include "connector/channel/IChannelMessageFactory.h"
#include "connector/reports/Reporter.h"
#include "connector/tasks/ImportConfigurationTask.h"
#include "host/database/IMapper.h"
#include "kelcomm/OvAgentChannel.h"
#include "module/ProductBuildReader.h"
#include "module/Turnstile.h"

namespace Kyr::Connectors::OvAgentConnector {

/// What the module takes from this computer.
struct ModuleSystem {
    /// The real clock, product registration and channel.
    ModuleSystem();

    boost::shared_ptr<Base::IClock> clock;
    boost::shared_ptr<IProductBuildReader> productBuild;
    /// Called once, by Initialize.
    std::function<boost::shared_ptr<COvAgentChannel>()> makeChannel;
};

class COvAgentConnectorModule : public Common::CConnectorModule {
  public:
    COvAgentConnectorModule();
    explicit COvAgentConnectorModule(ModuleSystem system);
    /// Ends the threads of a module that the host forgot to stop.
    ~COvAgentConnectorModule() override;

    void Initialize(Kyr::Common::Kernel::IResourceProvider& provider) override;
    /// "COvAgentConnectorModule".
    std::string GetName() const override;
    std::uint64_t GetProductId() const override;

  protected:
    bool IsProductInstalled() override;
    void CreateTasks(TaskList& tasks) override;
    bool Connect() override;
    void Interrupt() override;
    void Disconnect() override;

  private:
    void ObtainMappers(Kyr::Common::Kernel::IResourceProvider& provider);
    void SendAgentUuid();
    Common::Reporter Self() const;
    void StartPeriodicThread();
    void EndPeriodicThread();
    void PeriodicThread(std::optional<std::int64_t> productBuild);

    const ModuleSystem system_;

    // Constant after Initialize. The mappers are the host's and must be there to be used.
    boost::shared_ptr<COvAgentChannel> channel_;  // the one that all tasks use
    boost::shared_ptr<Kyr::Common::Database::IOvRemediationActionsMapper> remediationMapper_;
    boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueMapper_;
    boost::shared_ptr<Common::Tasks::CImportConfigurationTask> importConfigurationTask_;
    boost::shared_ptr<Common::IChannelMessageFactory> messageFactory_;

    // As of the last Connect; the periodic thread of that connection has a copy.
    std::optional<std::int64_t> productBuild_;

    // Interrupt may be called by a host's thread and by the task thread at once.
    Base::CMutex periodicThreadMutex_;
    std::unique_ptr<boost::thread> periodicThread_ KYR_GUARDED_BY(periodicThreadMutex_);
    // Passed by a watch while it runs: the one of an earlier connection may still be about to end
    // behind a request or a host's bus that takes its time. No mutex: an ending that has begun must
    // reach a watch that waits, too, or it would wait for a later watch that nobody ends.
    CTurnstile watchTurnstile_;
};

}  // namespace Kyr::Connectors::OvAgentConnector
