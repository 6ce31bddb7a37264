// What a product's replies must be: readable as the connector reads them, and records that stay
// where they are.
//
// Threads: one. Errors: none; a point that is otherwise is a check that is not fine.
#pragma once

#include "probe/doctor/Check.h"
#include "probe/session/Registration.h"
#include "probe/session/SessionOptions.h"

namespace Kyr::Probe {

/// Records are asked for as far as the registered build has them; all, if none can be read.
/// REQUIRES: the product answers a ping.
void TryReplies(const SessionOptions& options, const Registration& registration, Checks& points);

}  // namespace Kyr::Probe
