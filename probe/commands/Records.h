// `indicators`, `telemetry`: the records that the product keeps, from a position on. Reading takes
// none away.
//
// Threads: any. Errors: none.
#pragma once

#include <cstdint>

#include "probe/commands/Question.h"

namespace Kyr::Probe {

/// `from`: how many records are passed over.
Question IndicatorsQuestion(std::uint64_t from);
Question TelemetryQuestion(std::uint64_t from);

}  // namespace Kyr::Probe
