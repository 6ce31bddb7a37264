// `status`: what the product says of its protection.
//
// Threads: any. Errors: none.
#pragma once

#include "probe/commands/Question.h"

namespace Kyr::Probe {

Question StatusQuestion();

}  // namespace Kyr::Probe
