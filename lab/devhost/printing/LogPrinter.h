// Turns the rows of a log into `symbols` events, one a row.
//
// Threads: any.
#pragma once

#include <functional>
#include <string>

#include "host/logs/ISymbolContainer.h"
#include "host/message/LogMessage.h"
#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::DevHost {

/// Calls `visit` with each row of `log`, and what to call it: its index, or "product" for the
/// identification of the product that a multi-product log stands for.
void VisitRows(const Common::Message::CLogMessage& log,
               const std::function<void(const std::string& name,
                                        const Common::Logs::ISymbolContainer& row)>& visit);

/// Adds a field for each symbol of `row`. Resource ids are hexadecimal, times UTC, and of a blob
/// only the size is told.
void AddSymbols(CLine& line, const Common::Logs::ISymbolContainer& row);

/// Calls `visit` with each blob of `row`, and the key of its symbol.
void VisitBlobs(
    const Common::Logs::ISymbolContainer& row,
    const std::function<void(const std::string& symbol, const std::string& bytes)>& visit);

}  // namespace Kyr::Lab::DevHost
