#include "lab/devhost/printing/LogPrinter.h"

#include <cstdint>
#include <iomanip>
#include <sstream>

#include "lab/devhost/printing/SymbolNames.h"
#include "logs/EventLog.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"

namespace Kyr::Lab::DevHost {

namespace {

namespace Logs = Common::Message::Logs;
using Common::Logs::IMultiSymbolContainer;
using Common::Logs::ISymbolContainer;
using RowVisitor = std::function<void(const std::string&, const ISymbolContainer&)>;

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

std::string ValueText(const ISymbolContainer::MultiDataType& value) {
    std::ostringstream stream = NumberStream();
    for (const bool element : value.val_bool()) {
        stream << (element ? "true" : "false");
    }
    for (const std::int64_t element : value.val_int()) {
        stream << element;
    }
    for (const double element : value.val_double()) {
        stream << element;
    }
    for (const std::int64_t element : value.val_res_id()) {
        stream << ResourceText(element);
    }
    for (const std::string& element : value.val_string()) {
        stream << element;
    }
    for (const auto& element : value.val_time_date()) {
        stream << TimeText(element);
    }
    for (const auto& element : value.val_uuid()) {
        stream << element.uuid();
    }
    for (const std::string& element : value.val_blob()) {
        stream << element.size() << " bytes";
    }
    return stream.str();
}

void VisitTable(const IMultiSymbolContainer& rows, const RowVisitor& visit) {
    for (std::size_t index = 0; index < rows.GetRowCount(); ++index) {
        visit(std::to_string(index), *rows.GetRow(index));
    }
}

}  // namespace

void VisitRows(const Common::Message::CLogMessage& log, const RowVisitor& visit) {
    if (const auto* event = dynamic_cast<const Logs::CEventLog*>(&log)) {
        visit("0", *event->GetSymbols());
    } else if (const auto* status = dynamic_cast<const Logs::CStatusLog*>(&log)) {
        VisitTable(*status->GetSymbols(), visit);
    } else if (const auto* multi = dynamic_cast<const Logs::CMultiProductStatusLog*>(&log)) {
        visit("product", *multi->GetProductIdentification());
        VisitTable(*multi->GetSymbols(), visit);
    }
}

void AddSymbols(CLine& line, const ISymbolContainer& row) {
    for (std::size_t index = 0; index < row.GetCount(); ++index) {
        line.With(SymbolKey(row.GetSymbolAt(index)), ValueText(row.GetValueAt(index)));
    }
}

void VisitBlobs(
    const ISymbolContainer& row,
    const std::function<void(const std::string& symbol, const std::string& bytes)>& visit) {
    for (std::size_t index = 0; index < row.GetCount(); ++index) {
        const ISymbolContainer::MultiDataType value = row.GetValueAt(index);
        for (const std::string& bytes : value.val_blob()) {
            visit(SymbolKey(row.GetSymbolAt(index)), bytes);
        }
    }
}

}  // namespace Kyr::Lab::DevHost
