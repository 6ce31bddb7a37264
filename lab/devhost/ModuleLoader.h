// Loads a module library through the class loader and creates the connector module from it.
//
// The library stays loaded until the process ends: threads of the host that have called the module
// leave thread-specific values behind whose clean-up stands in the library.
//
// Threads: one at a time.
// Errors: std::exception when the library or the class cannot be had.
#pragma once

#include <Poco/ClassLoader.h>
#include <string>

#include <boost/shared_ptr.hpp>

#include "host/kernel/IModule.h"

namespace Kyr::Lab::DevHost {

class CModuleLoader {
  public:
    using Module = Common::Kernel::IModule;

    /// Nothing of the library has been asked for when it is loaded.
    explicit CModuleLoader(const std::string& libraryPath);

    /// A new module, which the library destroys. It must not outlive this.
    boost::shared_ptr<Module> Create();

  private:
    Poco::ClassLoader<Module> loader_;
};

}  // namespace Kyr::Lab::DevHost
