// Knows the agent's instance identifier. Threads: any. Errors: what the host throws.
#pragma once

#include <string>

namespace Kyr::Connectors::Common {

class IInstanceUUIDProvider {
  public:
    // The first virtual operation: the contract has no destructor before it.
    /// A UUID in text form, as the host's installation configuration gives it.
    virtual std::string GetInstanceUUID() const = 0;

  protected:
    ~IInstanceUUIDProvider() = default;
};

}  // namespace Kyr::Connectors::Common
