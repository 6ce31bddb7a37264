#include "module/OvAgentConnectorModule.h"

namespace Kyr::Connectors::OvAgentConnector {

COvAgentConnectorModule::~COvAgentConnectorModule() = default;
void COvAgentConnectorModule::Initialize(Kyr::Common::Kernel::IResourceProvider& /*provider*/) {}
void COvAgentConnectorModule::Start() {}
void COvAgentConnectorModule::RequestStop() {}
bool COvAgentConnectorModule::Stop(bool /*force*/) {
    return true;
}
std::string COvAgentConnectorModule::GetName() const {
    return "COvAgentConnectorModule";
}

}  // namespace Kyr::Connectors::OvAgentConnector
