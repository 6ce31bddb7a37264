#include "lab/devhost/printing/LogPrinter.h"

#include <Poco/Format.h>
#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "host/logs/LogDescriptorMap.h"
#include "logs/EventLog.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"

namespace Kyr::Lab::DevHost {

namespace {

namespace Logs = Common::Message::Logs;
using Common::Logs::IMultiSymbolContainer;
using Common::Logs::ISymbolContainer;

std::string TimeText(const ISymbolContainer::UTCTime& time) {
    return Poco::format("%04d-%02d-%02dT%02d:%02d:%02dZ", time.year(), time.month(), time.day(),
                        time.hour(), time.minute(), time.second());
}

std::string ResourceText(std::int64_t value) {
    return Poco::format("0x%016?x", static_cast<std::uint64_t>(value));
}

/// Of the fields one holds the value.
std::string ValueText(const ISymbolContainer::MultiDataType& value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    const auto append = [&stream](const auto& elements, auto text) {
        for (const auto& element : elements) {
            stream << text(element);
        }
    };
    const auto asItIs = [](const auto& element) { return element; };
    append(value.val_bool(), [](bool element) { return element ? "true" : "false"; });
    append(value.val_int(), asItIs);
    append(value.val_double(), asItIs);
    append(value.val_res_id(), ResourceText);
    append(value.val_string(), asItIs);
    append(value.val_time_date(), TimeText);
    append(value.val_uuid(), [](const auto& element) { return element.uuid(); });
    append(value.val_blob(),
           [](const auto& element) { return std::to_string(element.size()) + " bytes"; });
    return stream.str();
}

/// Number and host's name; only the number of a symbol without a name.
std::string SymbolKey(std::int32_t symbol) {
    std::string key = std::to_string(symbol);
    const auto& logs = Common::Logs::CLogDescriptorMap::Instance();
    if (logs.HasSymbol(symbol)) {
        const auto log = logs.GetLogDescriptor(logs.GetLogTypeBySymbol(symbol));
        const std::string& name = log->GetSymbolDescriptor(symbol)->GetName();
        key += name.empty() ? "" : "-" + name;
    }
    return key;
}

void TellRow(const std::string& name, const ISymbolContainer& row, const BeginLine& begin,
             const LineSink& events) {
    CLine symbols = begin("symbols").With("row", name);
    std::vector<CLine> blobs;
    for (std::size_t index = 0; index < row.GetCount(); ++index) {
        const std::string key = SymbolKey(row.GetSymbolAt(index));
        const auto value = row.GetValueAt(index);
        symbols.With(key, ValueText(value));
        for (const std::string& bytes : value.val_blob()) {
            blobs.push_back(
                begin("record").With("row", name).With("symbol", key).With("text", bytes));
        }
    }
    events(symbols);
    std::for_each(blobs.begin(), blobs.end(), events);
}

}  // namespace

void TellRows(const Common::Message::CLogMessage& log, const BeginLine& begin,
              const LineSink& events) {
    const auto tellTable = [&](const IMultiSymbolContainer& table) {
        for (std::size_t index = 0; index < table.GetRowCount(); ++index) {
            TellRow(std::to_string(index), *table.GetRow(index), begin, events);
        }
    };
    if (const auto* event = dynamic_cast<const Logs::CEventLog*>(&log)) {
        TellRow("0", *event->GetSymbols(), begin, events);
    } else if (const auto* status = dynamic_cast<const Logs::CStatusLog*>(&log)) {
        tellTable(*status->GetSymbols());
    } else if (const auto* multi = dynamic_cast<const Logs::CMultiProductStatusLog*>(&log)) {
        TellRow("product", *multi->GetProductIdentification(), begin, events);
        tellTable(*multi->GetSymbols());
    }
}

}  // namespace Kyr::Lab::DevHost
