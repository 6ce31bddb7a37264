// A table of native functions that are the system's until a fault strikes.
//
// The kind of such a fault is the place of its status in Statuses(), for functions that return one.
// Threads: any.
#pragma once

#include <cstdint>
#include <vector>

#include "kelcomm/native/NativeFunctions.h"
#include "proofs/nth/Product.h"

namespace Kyr::Proofs::Nth {

/// What native functions are known to fail with, one status that none is, and, last, those that
/// are neither failure nor success.
const std::vector<NtApi::NtStatus>& Statuses();

/// With the older port alone nobody fails to say what kind of process this is: whoever cannot learn
/// it takes the 32-bit structures for good and never meets that product.
const Connectors::Common::Kelcomm::Native::NativeFunctions& FaultyFunctions(Ports ports);

}  // namespace Kyr::Proofs::Nth
