// `conform`: plays the protocol against a product and says, point by point, what it does otherwise;
// for makers of the product. Nothing is asked that changes anything there.
//
// Threads: one. Errors: none; what is otherwise stands in the report.
#pragma once

#include "probe/session/SessionOptions.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

Report PlayProtocol(const SessionOptions& options);

}  // namespace Kyr::Probe
