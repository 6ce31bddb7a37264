#include "logs/StatusLogChecks.h"

#include <array>
#include <google/protobuf/util/message_differencer.h>
#include <set>
#include <stdexcept>

#include "host/logs/LogDescriptorMap.h"

namespace Kyr::Common::Message::Logs {

namespace {

using Common::Logs::CLogDescriptorMap;
using Common::Logs::ISymbolContainer;
using DataDefinition::Common::MultiDataType;
using Ids = std::set<std::int32_t>;

constexpr std::size_t kUuidTextLength = 36;

/// Whether the field of `dataType` holds exactly one element. The host's validator asks the same in
/// its own way: it belongs to a library that may be replaced, and lends nothing to these checks.
bool Holds(const MultiDataType& value, Common::Logs::SymbolDataType dataType) {
    // In the order of the data type codes.
    const std::array<int, 8> sizes = {value.val_bool_size(),   value.val_int_size(),
                                      value.val_double_size(), value.val_res_id_size(),
                                      value.val_string_size(), value.val_time_date_size(),
                                      value.val_uuid_size(),   value.val_blob_size()};
    const auto code = static_cast<std::size_t>(dataType);
    return code < sizes.size() && sizes[code] == 1;
}

Ids IdsOf(const Common::Logs::CLogDescriptor::SymbolDescriptors& symbols) {
    Ids ids;
    for (const auto& symbol : symbols) {
        ids.insert(symbol->GetDeltaSymbolType());
    }
    return ids;
}

/// One pass over the rows of one log.
class CStatusRowsCheck {
  public:
    CStatusRowsCheck(const char* className, Kernel::MessageType type,
                     const Common::Logs::IMultiSymbolContainer& rows)
        : log_(std::string(className) + " [" + StatusLogTypeName(type) + "]"),
          rows_(rows),
          descriptor_(CLogDescriptorMap::Instance().GetLogDescriptor(type)),
          allowed_(IdsOf(descriptor_->GetDeltaSymbols())),
          mandatory_(descriptor_->GetDeltaSymbolsByTag(Common::Logs::TAG_MANDATORY)),
          productKeys_(IdsOf(descriptor_->GetDeltaSymbolsByTag(Common::Logs::TAG_PRODUCT_KEY))) {}

    void Run(const ISymbolContainer* productIdentification) const {
        const std::size_t count = rows_.GetRowCount();
        for (std::size_t index = 0; index < count; ++index) {
            const auto row = rows_.GetRow(index);
            const Ids ids = CheckNoneRepeated(*row, index);
            CheckDataTypes(*row, index);
            for (const auto& symbol : mandatory_) {
                CheckPresent(*row, index, symbol->GetDeltaSymbolType());
            }
            if (productIdentification != nullptr) {
                CheckProductKeys(*row, index, *productIdentification);
            }
            CheckNoneSuperfluous(ids, index);
        }
    }

  private:
    [[noreturn]] void Refuse(std::size_t row, const char* before, std::int32_t id,
                             const char* after) const {
        throw std::runtime_error(log_ + "[Row: " + std::to_string(row) + "]: " + before + "'" +
                                 std::to_string(id) + "'" + after);
    }

    Ids CheckNoneRepeated(const ISymbolContainer& row, std::size_t index) const {
        Ids ids;
        const std::size_t count = row.GetCount();
        for (std::size_t symbol = 0; symbol < count; ++symbol) {
            const std::int32_t id = row.GetSymbolAt(symbol);
            if (!ids.insert(id).second) {
                Refuse(index, "Symbol ", id, " cannot be repeated (multiple value error)");
            }
        }
        return ids;
    }

    void CheckDataTypes(const ISymbolContainer& row, std::size_t index) const {
        for (const auto& symbol : descriptor_->GetDeltaSymbols()) {
            const std::int32_t id = symbol->GetDeltaSymbolType();
            if (!row.HasSymbol(id)) {
                continue;
            }
            const MultiDataType value = row.GetValue(id);
            if (!Holds(value, symbol->GetDataType())) {
                Refuse(index, "Unexpected symbol ", id, " datatype");
            }
            if (symbol->GetDataType() == Common::Logs::kUuid &&
                value.val_uuid(0).uuid().size() != kUuidTextLength) {
                throw std::runtime_error(log_ + ": Symbol value '" + value.val_uuid(0).uuid() +
                                         "' has unexpected length (expected: 36)");
            }
        }
    }

    void CheckPresent(const ISymbolContainer& row, std::size_t index, std::int32_t id) const {
        if (!row.HasSymbol(id)) {
            Refuse(index, "Container is missing symbol ", id, " (symbol is mandatory)");
        }
    }

    // Deliberate: each row looks at all rows again, and so decides which fault is reported first.
    void CheckProductKeys(const ISymbolContainer& row, std::size_t index,
                          const ISymbolContainer& productIdentification) const {
        const std::size_t count = rows_.GetRowCount();
        for (const std::int32_t id : productKeys_) {
            CheckPresent(row, index, id);
            const MultiDataType expected = productIdentification.GetValue(id);
            for (std::size_t other = 0; other < count; ++other) {
                if (!google::protobuf::util::MessageDifferencer::Equals(
                        rows_.GetRow(other)->GetValue(id), expected)) {
                    Refuse(other,
                           "Container symbol does not match the product identifications symbol ",
                           id, " (symbol is mandatory)");
                }
            }
        }
    }

    void CheckNoneSuperfluous(const Ids& ids, std::size_t index) const {
        for (const std::int32_t id : ids) {
            if (allowed_.count(id) == 0) {
                Refuse(index, "Unexpected symbol ", id, " (superfluous symbol value)");
            }
        }
    }

    std::string log_;
    const Common::Logs::IMultiSymbolContainer& rows_;
    boost::shared_ptr<const Common::Logs::CLogDescriptor> descriptor_;
    Ids allowed_;
    Common::Logs::CLogDescriptor::SymbolDescriptors mandatory_;
    Ids productKeys_;
};

}  // namespace

void RefuseMessageType(const char* className, Kernel::MessageType type, const char* why) {
    throw std::runtime_error(std::string(className) + ": Message type " +
                             std::to_string(static_cast<std::uint32_t>(type)) + " " + why);
}

boost::shared_ptr<const Common::Logs::CLogDescriptor> StatusLogDescriptor(
    const char* className, Kernel::MessageType type) {
    const CLogDescriptorMap& map = CLogDescriptorMap::Instance();
    const auto& descriptor = map.GetMessageDescriptor(type);
    // What is not described has the number that means "no type" in all places.
    if (type != descriptor.GetStatusMessageType() || type == Common::Logs::kNoMessageType) {
        RefuseMessageType(className, type, "is not status log");
    }
    return map.GetLogDescriptor(descriptor);
}

const std::string& StatusLogTypeName(Kernel::MessageType type) {
    return DataDefinition::Logs::LogType_Name(
        CLogDescriptorMap::Instance().GetMessageDescriptor(type).GetDeltaLogType());
}

void CheckStatusRows(const char* className, Kernel::MessageType type,
                     const Common::Logs::IMultiSymbolContainer& rows,
                     const ISymbolContainer* productIdentification) {
    CStatusRowsCheck(className, type, rows).Run(productIdentification);
}

}  // namespace Kyr::Common::Message::Logs
