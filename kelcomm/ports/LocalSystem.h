// Whether this process runs as the operating system's own account.
#pragma once

#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Connectors::Common::Kelcomm {

/// True when the user of the process token is LocalSystem (S-1-5-18). False when the token cannot
/// be read. Any thread; nothing throws.
bool RunsAsLocalSystem(const Native::NativeFunctions& native);

}  // namespace Kyr::Connectors::Common::Kelcomm
