// A table of native functions that are the system's until a fault strikes.
//
// The kind of such a fault is the place of its status in Statuses(), for functions that return one.
// Threads: any.
#pragma once

#include <cstdint>
#include <vector>

#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Proofs::Nth {

/// What native functions are known to fail with, one status that none is, and, last, those that
/// are neither failure nor success.
const std::vector<NtApi::NtStatus>& Statuses();

const Connectors::Common::Kelcomm::Native::NativeFunctions& FaultyFunctions();

}  // namespace Kyr::Proofs::Nth
