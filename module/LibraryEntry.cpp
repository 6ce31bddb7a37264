// The library's two exports, through which the host's class loader finds the module.
//
// The host calls pocoInitializeLibrary once after loading, then pocoBuildManifest with its manifest
// of IModule.
#include <Poco/ClassLibrary.h>
#include <memory>
#include <string>
#include <typeinfo>

#include "host/kernel/IModule.h"
#include "module/OvAgentConnectorModule.h"
#include "module/PathLocale.h"

namespace {

using Kyr::Common::Kernel::IModule;
using Kyr::Connectors::OvAgentConnector::COvAgentConnectorModule;

/// The name under which the host looks the class up. Deliberate: it is the generic connector class
/// and not the concrete one.
constexpr char kClassName[] = "Kyr::Connectors::OvAgentConnector::CConnectorModule";

}  // namespace

bool pocoBuildManifest(Poco::ManifestBase* manifest) {
    using ModuleManifest = Poco::Manifest<IModule>;
    using ModuleMetaObject = Poco::MetaObject<COvAgentConnectorModule, IModule>;

    // Compared by name, since the two sides of a library border may each have their own type
    // information object of the same type.
    if (std::string(typeid(ModuleManifest).name()) != manifest->className()) {
        return false;
    }
    auto metaObject = std::make_unique<ModuleMetaObject>(kClassName);
    if (static_cast<ModuleManifest*>(manifest)->insert(metaObject.get())) {
        static_cast<void>(metaObject.release());  // the manifest owns it now
    }
    return true;
}

void pocoInitializeLibrary() {
    Kyr::Connectors::OvAgentConnector::InstallPathLocale();
}
