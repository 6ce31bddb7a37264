// The rows of a log as events, one event a row.
//
// Threads: any.
#pragma once

#include <functional>

#include "host/message/LogMessage.h"
#include "lab/common/LineWriter.h"

namespace Kyr::Lab::DevHost {

/// Begins an event of a kind with what all events of the log tell.
using BeginLine = std::function<CLine(const char* kind)>;

/// Tells each row as `symbols`: which one it is, its index or "product" for that of which product a
/// multi-product log tells, and a field for each symbol, under its number and the host's name, as
/// in "2836-status", or its number alone. Resource ids are hexadecimal, times UTC, and of a blob
/// only the size is told; the whole blob is a `record`, told on demand.
void TellRows(const Common::Message::CLogMessage& log, const BeginLine& begin,
              const LineSink& events);

}  // namespace Kyr::Lab::DevHost
