// `policy`: the configuration that the product has.
//
// Threads: any. Errors: none.
#pragma once

#include "probe/commands/Question.h"

namespace Kyr::Probe {

Question PolicyQuestion();

}  // namespace Kyr::Probe
