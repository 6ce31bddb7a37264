// The largest single allocation of a stretch of code, for tests of what numbers from outside make a
// decoder reserve. A program that links it has its `operator new` replaced, unless a sanitizer did.
//
// Threads: any; allocations of all of them are seen.
#pragma once

#include <cstddef>

namespace Kyr::Test {

class CAllocationWatch {
  public:
    /// Starts anew; there is one watch at a time.
    CAllocationWatch();
    /// In bytes, since the watch was made.
    std::size_t Largest() const;
};

}  // namespace Kyr::Test
