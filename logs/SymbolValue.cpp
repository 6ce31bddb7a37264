#include "logs/SymbolValue.h"

#include <stdexcept>

#include <boost/uuid/uuid_io.hpp>

#include "logs/SymbolText.h"
#include "logs/SymbolTime.h"

namespace Kyr::Common::Logs {

namespace {

using DataDefinition::Common::MultiDataType;

template <typename Message>
void CheckInitialized(std::int32_t id, const Message& message) {
    if (!message.IsInitialized()) {
        throw std::runtime_error("Symbol " + std::to_string(id) +
                                 " value is not fully initialized");
    }
}

struct Appender {
    MultiDataType& target;

    void operator()(const BlobValue& value) const { target.add_val_blob(value.bytes); }
    void operator()(std::int64_t value) const { target.add_val_int(value); }
    void operator()(double value) const { target.add_val_double(value); }
    void operator()(const std::string& value) const { target.add_val_string(value); }
    void operator()(ResourceIdValue value) const { target.add_val_res_id(value.id); }
    void operator()(const boost::posix_time::ptime& value) const {
        ToUtcTime(value, *target.add_val_time_date());
    }
    void operator()(const boost::uuids::uuid& value) const {
        target.add_val_uuid()->set_uuid(boost::uuids::to_string(value));
    }
    void operator()(bool value) const { target.add_val_bool(value); }
};

}  // namespace

bool operator==(const BlobValue& left, const BlobValue& right) {
    return left.bytes == right.bytes;
}

bool operator==(ResourceIdValue left, ResourceIdValue right) {
    return left.id == right.id;
}

void AppendTo(MultiDataType& target, const SymbolValue& value) {
    if (value.valueless_by_exception()) {
        throw std::logic_error("Unknown variant type in CSymbolContainer::ToMdtType()");
    }
    std::visit(Appender{target}, value);
}

boost::optional<SymbolValue> ToSymbolValue(std::int32_t id, const MultiDataType& value) {
    // The first field that is set decides, in this order, and the first element of it. It is not
    // the order of the kinds in memory.
    if (value.val_bool_size() > 0) {
        return SymbolValue(value.val_bool(0));
    }
    if (value.val_int_size() > 0) {
        return SymbolValue(std::int64_t{value.val_int(0)});
    }
    if (value.val_double_size() > 0) {
        return SymbolValue(value.val_double(0));
    }
    if (value.val_res_id_size() > 0) {
        return SymbolValue(ResourceIdValue{value.val_res_id(0)});
    }
    if (value.val_string_size() > 0) {
        return SymbolValue(LimitText(id, value.val_string(0)));
    }
    if (value.val_time_date_size() > 0) {
        return SymbolValue(ToTime(id, value.val_time_date(0)));
    }
    if (value.val_uuid_size() > 0) {
        return SymbolValue(ToUuid(id, value.val_uuid(0)));
    }
    if (value.val_blob_size() > 0) {
        return SymbolValue(BlobValue(value.val_blob(0)));
    }
    return boost::none;
}

boost::posix_time::ptime ToTime(std::int32_t id, const DataDefinition::Common::UTCTime& value) {
    CheckInitialized(id, value);
    return FromUtcTime(value);
}

boost::uuids::uuid ToUuid(std::int32_t id, const DataDefinition::Common::Uuid& value) {
    CheckInitialized(id, value);
    return ParseUuid(value.uuid());
}

}  // namespace Kyr::Common::Logs
