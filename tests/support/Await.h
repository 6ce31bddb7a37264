// Waits in real time for another thread to get somewhere.
#pragma once

#include <functional>

namespace Kyr::Test {

/// Asks `reached` again and again; false when it has not become true within ten seconds.
bool Await(const std::function<bool()>& reached);

}  // namespace Kyr::Test
