// The Ov connector module: joins the host to the Ov agent on the same computer.
//
// It carries no task yet: the host can load, create and drive it, and it does nothing.
// Created by the library's meta-object, driven by the host in the order that IModule gives.
#pragma once

#include <string>

#include "host/kernel/IModule.h"

namespace Kyr::Connectors::OvAgentConnector {

class COvAgentConnectorModule : public Kyr::Common::Kernel::IModule {
  public:
    ~COvAgentConnectorModule() override;
    void Initialize(Kyr::Common::Kernel::IResourceProvider& provider) override;
    void Start() override;
    void RequestStop() override;
    bool Stop(bool force) override;
    /// "COvAgentConnectorModule".
    std::string GetName() const override;
};

}  // namespace Kyr::Connectors::OvAgentConnector
