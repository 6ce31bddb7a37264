// A library for the host whose module is busy for ever: only by force does it stop.
#include <Poco/ClassLibrary.h>

#include "host/kernel/IModule.h"

namespace Kyr::Connectors::OvAgentConnector {

// The name is the one under which a host looks the module up.
class CConnectorModule final : public Common::Kernel::IModule {
  public:
    void Initialize(Common::Kernel::IResourceProvider&) override {}
    void Start() override {}
    void RequestStop() override {}
    bool Stop(bool force) override { return force; }
    std::string GetName() const override { return "busy"; }
};

}  // namespace Kyr::Connectors::OvAgentConnector

POCO_BEGIN_MANIFEST(Kyr::Common::Kernel::IModule)
POCO_EXPORT_CLASS(Kyr::Connectors::OvAgentConnector::CConnectorModule)
POCO_END_MANIFEST
