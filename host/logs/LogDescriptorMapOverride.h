// Puts another descriptor map in the place of the process-wide one while it lives; for tests of log
// classes. The maps nest.
//
// Threads: REQUIRES that no other thread uses descriptors when it is created or destroyed.
#pragma once

#include "host/logs/LogDescriptorMap.h"

namespace Kyr::Common::Logs {

class CLogDescriptorMapOverride {
  public:
    /// `map` must outlive this object.
    explicit CLogDescriptorMapOverride(const CLogDescriptorMap& map);
    ~CLogDescriptorMapOverride();
    CLogDescriptorMapOverride(const CLogDescriptorMapOverride&) = delete;
    CLogDescriptorMapOverride& operator=(const CLogDescriptorMapOverride&) = delete;

  private:
    const CLogDescriptorMap* previous_;
};

}  // namespace Kyr::Common::Logs
