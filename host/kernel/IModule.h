// What the host loads a library for: a module with a life cycle.
//
// The host drives it in this order:
//   create - Initialize once - Start - RequestStop - Stop(false) until it returns true, or
//   Stop(true) - destroy.
// Threads: the host's own, one call at a time.
// Ownership: the host's, through the library's meta-object.
// The order of the virtual operations is the host's contract.
#pragma once

#include <string>

#include "host/kernel/IResource.h"

namespace Kyr::Common::Kernel {

class IModule {
  public:
    virtual ~IModule();
    /// Obtains the module's resources and builds it. Exceptions propagate to the host; the module
    /// is then unusable and may only be destroyed. `provider` is used during the call only.
    virtual void Initialize(IResourceProvider& provider) = 0;
    /// Starts the module's threads.
    virtual void Start() = 0;
    /// Asks the module's work to end.
    virtual void RequestStop() = 0;
    /// Ends the module's threads. False: the module is still busy; call again later. With `force`
    /// always true.
    virtual bool Stop(bool force) = 0;
    /// The module's name, for log lines.
    virtual std::string GetName() const = 0;
};

}  // namespace Kyr::Common::Kernel
