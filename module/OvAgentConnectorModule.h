// The Ov connector module: joins the host to the Ov agent on the same computer.
//
// So far it carries only the two action tasks, kill a process and block an executable: it takes the
// product for installed, tells the host no status of it, and has no periodic thread.
//
// Created by the library's meta-object, driven by the host in the order that IModule gives.
// Threads and errors: see CConnectorModule.
#pragma once

#include <cstdint>
#include <string>

#include "connector/ConnectorModule.h"
#include "kelcomm/OvAgentChannel.h"

namespace Kyr::Connectors::OvAgentConnector {

class COvAgentConnectorModule : public Common::CConnectorModule {
  public:
    COvAgentConnectorModule();
    /// Ends the threads of a module that the host forgot to stop.
    ~COvAgentConnectorModule() override;

    void Initialize(Kyr::Common::Kernel::IResourceProvider& provider) override;
    /// "COvAgentConnectorModule".
    std::string GetName() const override;
    std::uint64_t GetProductId() const override;

  protected:
    void CreateTasks(TaskList& tasks) override;
    bool Connect() override;
    void Interrupt() override;
    void Disconnect() override;

  private:
    boost::shared_ptr<COvAgentChannel> channel_;  // the one that all tasks use
};

}  // namespace Kyr::Connectors::OvAgentConnector
