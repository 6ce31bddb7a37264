// The claim of a product to be the only one that serves where its names live. A second one would
// write over the broadcast area of the first before it finds a port taken.
//
// Threads: one, for its whole life.
// Errors: std::runtime_error from the constructor when another product serves.
#pragma once

#include "lab/simproduct/area/NamedMemory.h"

namespace Kyr::Lab::SimProduct {

class COnlyProduct {
  public:
    /// `pid` is this process's number.
    explicit COnlyProduct(std::uint64_t pid);
    ~COnlyProduct() { claim_.Give(); }

  private:
    CNamedMemory claim_;  // holds the number of the process that has the mutex
};

}  // namespace Kyr::Lab::SimProduct
