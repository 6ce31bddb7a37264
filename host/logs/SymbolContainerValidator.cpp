#include "host/logs/SymbolContainerValidator.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "host/logs/LogDescriptorMap.h"

namespace Kyr::Common::Logs {

namespace {

/// Whether the field of `dataType` holds exactly one element.
bool Holds(const DataDefinition::Common::MultiDataType& value, SymbolDataType dataType) {
    switch (dataType) {
        case kBool:
            return value.val_bool_size() == 1;
        case kInteger:
            return value.val_int_size() == 1;
        case kDouble:
            return value.val_double_size() == 1;
        case kResourceId:
            return value.val_res_id_size() == 1;
        case kString:
            return value.val_string_size() == 1;
        case kTime:
            return value.val_time_date_size() == 1;
        case kUuid:
            return value.val_uuid_size() == 1;
        case kBlob:
            return value.val_blob_size() == 1;
    }
    return false;
}

[[noreturn]] void Refuse(LogType logType, std::int32_t symbol, const char* why) {
    throw std::runtime_error("CSymbolContainerValidator [" +
                             DataDefinition::Logs::LogType_Name(logType) + "]: Symbol '" +
                             std::to_string(symbol) + "' " + why);
}

}  // namespace

void CSymbolContainerValidator::ValidateSymbolContainer(const ISymbolContainer& symbols,
                                                        const CLogMessageDescriptor& /*descriptor*/,
                                                        LogType logType) {
    const auto log = CLogDescriptorMap::Instance().GetLogDescriptor(logType);
    std::size_t known = 0;
    for (const auto& symbol : log->GetDeltaSymbols()) {
        const std::int32_t id = symbol->GetDeltaSymbolType();
        if (symbols.HasSymbol(id)) {
            ++known;
            if (!Holds(symbols.GetValue(id), symbol->GetDataType())) {
                Refuse(logType, id, "is of another data type");
            }
        } else if (symbol->HasTag(TAG_MANDATORY)) {
            Refuse(logType, id, "is missing");
        }
    }
    for (std::size_t index = 0; known < symbols.GetCount() && index < symbols.GetCount(); ++index) {
        const std::int32_t id = symbols.GetSymbolAt(index);
        const auto& all = log->GetDeltaSymbols();
        if (std::none_of(all.begin(), all.end(),
                         [id](const auto& any) { return any->GetDeltaSymbolType() == id; })) {
            Refuse(logType, id, "does not belong to the log");
        }
    }
}

}  // namespace Kyr::Common::Logs
