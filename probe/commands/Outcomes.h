// `outcomes`: what became of tasks. Reading takes each one away from the product: the connector
// will not get it any more.
//
// Threads: one. Errors: as the session's.
#pragma once

#include <cstdint>

#include "probe/commands/Question.h"

namespace Kyr::Probe {

/// At most `most` of them, one an exchange.
Report TakeOutcomes(CSession& session, std::uint64_t most, bool raw);

}  // namespace Kyr::Probe
