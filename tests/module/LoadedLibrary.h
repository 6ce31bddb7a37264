// The built library, loaded the way the host loads it.
#pragma once

#include <Poco/ClassLoader.h>
#include <string>

#include <boost/shared_ptr.hpp>

#include "host/kernel/IModule.h"

namespace Kyr::Test {

/// The file of the library under test.
inline std::string LibraryPath() {
    return KYR_LIBRARY_PATH;
}

class CLoadedLibrary {
  public:
    using Module = Common::Kernel::IModule;
    using MetaObject = Poco::AbstractMetaObject<Module>;

    CLoadedLibrary() { loader_.loadLibrary(LibraryPath()); }
    CLoadedLibrary(const CLoadedLibrary&) = delete;
    CLoadedLibrary& operator=(const CLoadedLibrary&) = delete;
    // Not unloaded: what a module has published may live on in the test.
    ~CLoadedLibrary() = default;

    const Poco::Manifest<Module>& Manifest() const { return loader_.manifestFor(LibraryPath()); }
    /// Throws Poco::NotFoundException when the library does not offer the connector's class.
    const MetaObject& ConnectorClass() const {
        return loader_.classFor("Kyr::Connectors::OvAgentConnector::CConnectorModule");
    }
    /// A new module; it must not outlive the library.
    boost::shared_ptr<Module> CreateModule() const {
        return boost::shared_ptr<Module>(ConnectorClass().create());
    }

  private:
    Poco::ClassLoader<Module> loader_;
};

}  // namespace Kyr::Test
