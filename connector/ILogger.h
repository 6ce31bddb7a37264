// The connector logger: one CLogLine an event.
//
// Threads: any.
#pragma once

#include "connector/LogLine.h"

namespace Kyr::Connectors::Common {

class ILogger {
  public:
    virtual ~ILogger();
    /// A line of the connector level `level`: 1 progress, 2 requests and steps, 3 product warnings,
    /// 4 errors and cancelling. Level 0 is written as 2, any other value as 4. A line that cannot
    /// be begun is lost.
    virtual CLogLine GetLog(int level) noexcept = 0;
};

}  // namespace Kyr::Connectors::Common
