// The broadcast area: there, of the right form, within its bounds, its mutex.
//
// Threads: one. Errors: none.
#pragma once

#include "probe/doctor/AreaSnapshot.h"
#include "probe/doctor/Check.h"

namespace Kyr::Probe {

/// `productIsThere`: an area without a product is a leftover, a product without one is broken.
void CheckArea(const AreaSnapshot& snapshot, bool productIsThere, Checks& checks);

}  // namespace Kyr::Probe
