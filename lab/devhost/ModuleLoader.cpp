#include "lab/devhost/ModuleLoader.h"

#include <stdexcept>

namespace Kyr::Lab::DevHost {

namespace {

/// The name under which connector libraries offer their module.
constexpr char kClassName[] = "Kyr::Connectors::OvAgentConnector::CConnectorModule";

}  // namespace

CModuleLoader::CModuleLoader(const std::string& libraryPath) {
    try {
        loader_.loadLibrary(libraryPath);
    } catch (const Poco::Exception& exception) {
        // Its what() says only that loading failed; the reason stands in its message.
        throw std::runtime_error(exception.displayText());
    }
}

boost::shared_ptr<CModuleLoader::Module> CModuleLoader::Create() {
    const auto& metaObject = loader_.classFor(kClassName);
    // The meta-object destroys only what has been handed over to it.
    return {metaObject.autoDelete(metaObject.create()),
            [&metaObject](Module* module) { metaObject.destroy(module); }};
}

}  // namespace Kyr::Lab::DevHost
