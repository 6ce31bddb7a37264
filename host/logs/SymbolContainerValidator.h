// The host's check that a row fits its log type.
//
// For logs of one row; those of many have checks of their own, with other texts.
// Threads: any, as long as nobody changes the row.
#pragma once

#include "host/logs/ISymbolContainer.h"
#include "host/logs/LogMessageDescriptor.h"

namespace Kyr::Common::Logs {

class CSymbolContainerValidator {
  public:
    /// Throws std::runtime_error when `symbols` lacks a mandatory symbol of `logType`, or has one
    /// that the log does not know or that is of another data type. `descriptor` is not looked at:
    /// the log type says it all.
    static void ValidateSymbolContainer(const ISymbolContainer& symbols,
                                        const CLogMessageDescriptor& descriptor, LogType logType);
};

}  // namespace Kyr::Common::Logs
