// The connector logger: one CLogLine an event.
//
// Threads: any.
#pragma once

#include "connector/LogLine.h"

namespace Kyr::Connectors::Common {

class ILogger {
  public:
    virtual ~ILogger();
    /// A line of the connector level `level`: 1 routine progress, 2 progress and requests sent, 3
    /// product warnings, 4 errors and cancellations. Level 0 is written as 2, any other value as 4.
    virtual CLogLine GetLog(int level) = 0;
};

}  // namespace Kyr::Connectors::Common
