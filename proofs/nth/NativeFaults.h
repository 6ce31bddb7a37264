// A table of native functions that are the system's until a fault strikes.
//
// Kinds of such a fault: the low half is the place of its status in Statuses(), for functions that
// return one; with kAfter the call is made first, so that what it did has happened.
// Threads: any.
#pragma once

#include <cstdint>
#include <vector>

#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Proofs::Nth {

constexpr std::uint32_t kAfter = 0x10000;

/// What native functions are known to fail with, and one status that none is.
const std::vector<NtApi::NtStatus>& Statuses();

const Connectors::Common::Kelcomm::Native::NativeFunctions& FaultyFunctions();

}  // namespace Kyr::Proofs::Nth
