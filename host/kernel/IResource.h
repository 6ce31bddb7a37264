// The base of what the host lends to its modules, and the object that modules ask for it by number.
//
// Threads: the provider is asked on the thread that initialises the module, while that call lasts;
// what threads a resource allows stands in Resources.h.
// The order of the virtual operations is the host's contract. Operations named Reserved belong to
// the host and only keep the places of the ones that follow; no module of this system calls them.
#pragma once

#include <boost/shared_ptr.hpp>

namespace Kyr::Common::Kernel {

class IResource {
  public:
    virtual ~IResource();
};

/// The numbers under which a resource provider knows the resources.
enum ResourceNumber : int {
    kBusResource = 1,
    kInstallConfigurationResource = 2,
    kLoggerResource = 3,
    kIdGeneratorResource = 4,
    kDatabaseResource = 6,
    kConfigurationResource = 11,
    kNetworkGrpcResource = 12,
};

class IResourceProvider {
  public:
    virtual ~IResourceProvider();
    /// The resource of that number, or an empty pointer.
    virtual boost::shared_ptr<IResource> GetResource(int number) = 0;
};

}  // namespace Kyr::Common::Kernel
