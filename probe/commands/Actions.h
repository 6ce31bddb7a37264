// `actions`: the remediation actions that the product keeps, from a position on. Reading takes none
// away.
//
// Threads: any. Errors: none.
#pragma once

#include <cstdint>

#include "probe/commands/Question.h"

namespace Kyr::Probe {

/// `from`: how many actions are passed over.
Question ActionsQuestion(std::uint64_t from);

}  // namespace Kyr::Probe
