// How many objects of this layer are alive in the process, for tests: one that cleaned up leaves
// none.
//
// Threads: any. The counters are read one by one, so a text is exact only while nothing runs.
#pragma once

#include <string>

namespace Kyr::PortLayer {

/// One line that names every kind of which some are alive; empty when nothing is.
std::string LiveObjects();

}  // namespace Kyr::PortLayer
