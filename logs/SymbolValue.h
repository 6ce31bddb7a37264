// One value of a symbol row, and its conversion to and from the host's MultiDataType.
//
// The index of a kind in the variant is the host's; the tags of the binary form are others (see
// SymbolContainerBinary.cpp).
// Errors: std::runtime_error and std::out_of_range with the texts that the conversions name.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/optional.hpp>
#include <boost/uuid/uuid.hpp>

#include "host/proto/common.pb.h"

namespace Kyr::Common::Logs {

struct BlobValue {
    explicit BlobValue(std::string value) : bytes(std::move(value)) {}
    std::string bytes;
};
bool operator==(const BlobValue& left, const BlobValue& right);

struct ResourceIdValue {
    std::int64_t id;
};
bool operator==(ResourceIdValue left, ResourceIdValue right);

using SymbolValue = std::variant<BlobValue, std::int64_t, double, std::string, ResourceIdValue,
                                 boost::posix_time::ptime, boost::uuids::uuid, bool>;

/// Adds one element to the field of the value's kind.
void AppendTo(DataDefinition::Common::MultiDataType& target, const SymbolValue& value);

/// The first element of the first field that has one, in the host's order of kinds; nothing when no
/// field has one. Texts are shortened to what the descriptor of symbol `id` allows.
boost::optional<SymbolValue> ToSymbolValue(std::int32_t id,
                                           const DataDefinition::Common::MultiDataType& value);

/// Throws std::runtime_error "Symbol <id> value is not fully initialized".
boost::posix_time::ptime ToTime(std::int32_t id, const DataDefinition::Common::UTCTime& value);
/// Throws std::runtime_error "Symbol <id> value is not fully initialized" or "invalid uuid string".
boost::uuids::uuid ToUuid(std::int32_t id, const DataDefinition::Common::Uuid& value);

}  // namespace Kyr::Common::Logs
