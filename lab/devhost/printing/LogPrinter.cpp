#include "lab/devhost/printing/LogPrinter.h"

#include <cstdint>
#include <iomanip>
#include <sstream>

#include "host/logs/LogDescriptorMap.h"
#include "logs/EventLog.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"

namespace Kyr::Lab::DevHost {

namespace {

namespace Logs = Common::Message::Logs;
using Common::Logs::IMultiSymbolContainer;
using Common::Logs::ISymbolContainer;

std::ostringstream NumberStream() {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << std::setfill('0');
    return stream;
}

std::string TimeText(const ISymbolContainer::UTCTime& time) {
    std::ostringstream stream = NumberStream();
    stream << std::setw(4) << time.year() << '-' << std::setw(2) << time.month() << '-'
           << std::setw(2) << time.day() << 'T' << std::setw(2) << time.hour() << ':'
           << std::setw(2) << time.minute() << ':' << std::setw(2) << time.second() << 'Z';
    return stream.str();
}

std::string ResourceText(std::int64_t value) {
    std::ostringstream stream = NumberStream();
    stream << "0x" << std::hex << std::setw(16) << static_cast<std::uint64_t>(value);
    return stream.str();
}

/// Of the fields one holds the value.
std::string ValueText(const ISymbolContainer::MultiDataType& value) {
    std::ostringstream stream = NumberStream();
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

/// The host's name for a symbol; empty when it has none.
std::string NameOf(std::int32_t symbol) {
    const auto& logs = Common::Logs::CLogDescriptorMap::Instance();
    if (!logs.HasSymbol(symbol)) {
        return "";
    }
    const auto log = logs.GetLogDescriptor(logs.GetLogTypeBySymbol(symbol));
    return log->GetSymbolDescriptor(symbol)->GetName();
}

void AppendTable(const IMultiSymbolContainer& table, std::vector<NamedRow>& rows) {
    for (std::size_t index = 0; index < table.GetRowCount(); ++index) {
        rows.push_back({std::to_string(index), table.GetRow(index)});
    }
}

}  // namespace

std::vector<NamedRow> RowsOf(const Common::Message::CLogMessage& log) {
    std::vector<NamedRow> rows;
    if (const auto* event = dynamic_cast<const Logs::CEventLog*>(&log)) {
        rows.push_back({"0", event->GetSymbols()});
    } else if (const auto* status = dynamic_cast<const Logs::CStatusLog*>(&log)) {
        AppendTable(*status->GetSymbols(), rows);
    } else if (const auto* multi = dynamic_cast<const Logs::CMultiProductStatusLog*>(&log)) {
        rows.push_back({"product", multi->GetProductIdentification()});
        AppendTable(*multi->GetSymbols(), rows);
    }
    return rows;
}

std::string SymbolKey(std::int32_t symbol) {
    const std::string number = std::to_string(symbol);
    const std::string name = NameOf(symbol);
    return name.empty() ? number : number + "-" + name;
}

void AddSymbols(CLine& line, const ISymbolContainer& row) {
    for (std::size_t index = 0; index < row.GetCount(); ++index) {
        line.With(SymbolKey(row.GetSymbolAt(index)), ValueText(row.GetValueAt(index)));
    }
}

}  // namespace Kyr::Lab::DevHost
