// The rows of a log as fields of events, one event a row.
//
// Threads: any.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/logs/ISymbolContainer.h"
#include "host/message/LogMessage.h"
#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::DevHost {

struct NamedRow {
    std::string name;  // its index, or "product": of what product a multi-product log tells
    boost::shared_ptr<const Common::Logs::ISymbolContainer> row;
};

std::vector<NamedRow> RowsOf(const Common::Message::CLogMessage& log);

/// Number and host's name, as in "2836-status"; only the number of a symbol without a name.
std::string SymbolKey(std::int32_t symbol);

/// Adds a field for each symbol of `row`. Resource ids are hexadecimal, times UTC, and of a blob
/// only the size is told.
void AddSymbols(CLine& line, const Common::Logs::ISymbolContainer& row);

}  // namespace Kyr::Lab::DevHost
