// Owner of one file descriptor, as the system's own calls take it.
#pragma once

#include "portlayer/core/SystemHandle.h"

namespace Kyr::PortLayer::Detail {

class CFileDescriptor : public CSystemHandle {
  public:
    using CSystemHandle::CSystemHandle;

    int Get() const { return static_cast<int>(CSystemHandle::Get()); }
};

}  // namespace Kyr::PortLayer::Detail
