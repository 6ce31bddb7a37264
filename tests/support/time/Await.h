// Waits in real time for another thread to get somewhere.
#pragma once

#include <functional>

namespace Kyr::Test {

/// Asks `reached` again and again; false when it has not become true within ten seconds.
bool Await(const std::function<bool()>& reached);

/// Waits until the calling thread is being interrupted, and leaves the interruption pending for its
/// next interruption point. False when nobody has interrupted it within ten seconds.
bool AwaitInterruption();

}  // namespace Kyr::Test
