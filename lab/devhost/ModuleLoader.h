// Loads a module library through the class loader and creates the connector module from it.
//
// The library stays loaded until the process ends: threads of the host that have called the module
// leave thread-specific values behind whose clean-up stands in the library.
//
// Threads: one at a time.
// Errors: std::exception when the library or the class cannot be had.
#pragma once

#include <Poco/ClassLoader.h>
#include <functional>
#include <string>

#include "host/kernel/IModule.h"

namespace Kyr::Lab::DevHost {

class CModuleLoader {
  public:
    using Module = Common::Kernel::IModule;

    /// What the host does around loading.
    struct Hooks {
        std::function<void()> before;
        std::function<void()> after;  // nothing of the library has been asked for yet
    };

    CModuleLoader(const std::string& libraryPath, const Hooks& hooks);

    /// A new module, which only Destroy may delete. At the latest the loader's destructor does.
    Module& Create();
    void Destroy(Module& module);

  private:
    Poco::ClassLoader<Module> loader_;
};

}  // namespace Kyr::Lab::DevHost
