#include "logs/SymbolContainer.h"

#include <algorithm>
#include <google/protobuf/arena.h>
#include <stdexcept>

#include <boost/make_shared.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "logs/SymbolText.h"
#include "logs/SymbolTime.h"

namespace Kyr::Common::Logs {

namespace {

using DataDefinition::Logs::LogSymbolContainer;

[[noreturn]] void Fail(const char* before, std::int32_t id, const char* after) {
    throw std::runtime_error(before + std::to_string(id) + after);
}

}  // namespace

CSymbolContainer::CSymbolContainer(boost::shared_ptr<Base::IClock> clock)
    : clock_(std::move(clock)) {}
CSymbolContainer::~CSymbolContainer() = default;

// Look-up

std::size_t CSymbolContainer::Find(std::int32_t id) const {
    return static_cast<std::size_t>(std::find(ids_.begin(), ids_.end(), id) - ids_.begin());
}

template <typename Kind>
const Kind& CSymbolContainer::Get(std::int32_t id) const {
    const std::size_t index = Find(id);
    if (index == ids_.size()) {
        Fail("Cannot find symbol ", id, " in symbol container");
    }
    const Kind* value = std::get_if<Kind>(&values_[index]);
    if (value == nullptr) {
        Fail("The symbol ", id, " exists but is not of requested type");
    }
    return *value;
}

bool CSymbolContainer::HasSymbol(std::int32_t id) const {
    return Find(id) != ids_.size();
}

CSymbolContainer::MultiDataType CSymbolContainer::GetValue(std::int32_t id) const {
    const std::size_t index = Find(id);
    if (index == ids_.size()) {
        Fail("Cannot find symbol ", id, " in symbol container");
    }
    return GetValueAt(index);
}

bool CSymbolContainer::GetBool(std::int32_t id) const {
    return Get<bool>(id);
}

const std::string& CSymbolContainer::GetBlob(std::int32_t id) const {
    return Get<BlobValue>(id).bytes;
}

std::int64_t CSymbolContainer::GetInt64(std::int32_t id) const {
    return Get<std::int64_t>(id);
}

double CSymbolContainer::GetDouble(std::int32_t id) const {
    return Get<double>(id);
}

const std::string& CSymbolContainer::GetString(std::int32_t id) const {
    return Get<std::string>(id);
}

std::uint64_t CSymbolContainer::GetResourceId(std::int32_t id) const {
    return static_cast<std::uint64_t>(Get<ResourceIdValue>(id).id);
}

std::int32_t CSymbolContainer::GetInt32(std::int32_t id) const {
    // The low half, whatever the other one holds: the host's small numbers are stored as large
    // ones.
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(Get<std::int64_t>(id)));
}

CSymbolContainer::UTCTime CSymbolContainer::GetUtcTime(std::int32_t id) const {
    UTCTime time;
    ToUtcTime(Get<Time>(id), time);
    return time;
}

CSymbolContainer::Time CSymbolContainer::GetTime(std::int32_t id) const {
    return Get<Time>(id);
}

CSymbolContainer::Uuid CSymbolContainer::GetUuid(std::int32_t id) const {
    Uuid uuid;
    uuid.set_uuid(boost::uuids::to_string(Get<boost::uuids::uuid>(id)));
    return uuid;
}

boost::optional<CSymbolContainer::MultiDataType> CSymbolContainer::FindValue(
    std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetValue(id)) : boost::none;
}

boost::optional<bool> CSymbolContainer::FindBool(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetBool(id)) : boost::none;
}

boost::optional<std::string> CSymbolContainer::FindBlob(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetBlob(id)) : boost::none;
}

boost::optional<std::int64_t> CSymbolContainer::FindInt64(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetInt64(id)) : boost::none;
}

boost::optional<double> CSymbolContainer::FindDouble(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetDouble(id)) : boost::none;
}

boost::optional<std::string> CSymbolContainer::FindString(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetString(id)) : boost::none;
}

boost::optional<std::uint64_t> CSymbolContainer::FindResourceId(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetResourceId(id)) : boost::none;
}

boost::optional<std::int32_t> CSymbolContainer::FindInt32(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetInt32(id)) : boost::none;
}

boost::optional<CSymbolContainer::UTCTime> CSymbolContainer::FindUtcTime(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetUtcTime(id)) : boost::none;
}

boost::optional<CSymbolContainer::Time> CSymbolContainer::FindTime(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetTime(id)) : boost::none;
}

boost::optional<CSymbolContainer::Uuid> CSymbolContainer::FindUuid(std::int32_t id) const {
    return HasSymbol(id) ? boost::make_optional(GetUuid(id)) : boost::none;
}

std::size_t CSymbolContainer::GetCount() const {
    return ids_.size();
}

void CSymbolContainer::CheckIndex(std::size_t index) const {
    if (index >= ids_.size()) {
        throw std::out_of_range("invalid vector subscript");
    }
}

CSymbolContainer::MultiDataType CSymbolContainer::GetValueAt(std::size_t index) const {
    CheckIndex(index);
    MultiDataType value;
    AppendTo(value, values_[index]);
    return value;
}

std::int32_t CSymbolContainer::GetSymbolAt(std::size_t index) const {
    CheckIndex(index);
    return ids_[index];
}

// Change. The operations below make the whole new value first, so that a failed one changes
// nothing.

void CSymbolContainer::CheckUnlocked(std::int32_t id) const {
    if (locked_) {
        Fail("Cannot add symbol ", id, ": container is locked");
    }
}

void CSymbolContainer::Append(std::int32_t id, SymbolValue value) {
    // Both or neither: the two run in parallel.
    values_.push_back(std::move(value));
    try {
        ids_.push_back(id);
    } catch (...) {
        values_.pop_back();
        throw;
    }
}

ISymbolContainer& CSymbolContainer::Add(std::int32_t id, SymbolValue value) {
    CheckUnlocked(id);
    if (HasSymbol(id)) {
        Fail("Symbol ", id, " is already in container");
    }
    Append(id, std::move(value));
    return *this;
}

ISymbolContainer& CSymbolContainer::Set(std::int32_t id, SymbolValue value) {
    CheckUnlocked(id);
    const std::size_t index = Find(id);
    if (index == ids_.size()) {
        Append(id, std::move(value));
        return *this;
    }
    if (values_[index].index() != value.index()) {
        Fail("Cannot set the symbol ", id, " because it exists but is not of same type as before");
    }
    values_[index] = std::move(value);
    return *this;
}

ISymbolContainer& CSymbolContainer::AddValue(std::int32_t id, const MultiDataType& value) {
    if (auto converted = ToSymbolValue(id, value)) {
        Add(id, std::move(*converted));
    }
    return *this;
}

ISymbolContainer& CSymbolContainer::AddBool(std::int32_t id, bool value) {
    return Add(id, value);
}

ISymbolContainer& CSymbolContainer::AddBlob(std::int32_t id, const std::string& value) {
    return Add(id, BlobValue(value));
}

ISymbolContainer& CSymbolContainer::AddInt64(std::int32_t id, std::int64_t value) {
    return Add(id, value);
}

ISymbolContainer& CSymbolContainer::AddDouble(std::int32_t id, double value) {
    return Add(id, value);
}

ISymbolContainer& CSymbolContainer::AddString(std::int32_t id, const std::string& value) {
    return Add(id, LimitText(id, value));
}

ISymbolContainer& CSymbolContainer::AddResourceId(std::int32_t id, std::uint64_t value) {
    return Add(id, ResourceIdValue{static_cast<std::int64_t>(value)});
}

ISymbolContainer& CSymbolContainer::AddInt32(std::int32_t id, std::int32_t value) {
    return Add(id, std::int64_t{value});
}

ISymbolContainer& CSymbolContainer::AddUtcTime(std::int32_t id, const UTCTime& value) {
    return Add(id, ToTime(id, value));
}

ISymbolContainer& CSymbolContainer::AddCurrentTime(std::int32_t id) {
    return Add(id, FromCalendarTime(clock_->CalendarTime()));
}

ISymbolContainer& CSymbolContainer::AddUuid(std::int32_t id, const boost::uuids::uuid& value) {
    return Add(id, value);
}

ISymbolContainer& CSymbolContainer::AddUuidString(std::int32_t id, const std::string& text) {
    return Add(id, ParseUuid(text));
}

ISymbolContainer& CSymbolContainer::AddUuidMessage(std::int32_t id, const Uuid& value) {
    return Add(id, ToUuid(id, value));
}

ISymbolContainer& CSymbolContainer::SetValue(std::int32_t id, const MultiDataType& value) {
    CheckUnlocked(id);
    // Unlike the other setters: an old symbol goes, whatever its kind, and the new one stands at
    // the end of the row. A value without an element only removes. Converted first, because it may
    // fail.
    auto converted = ToSymbolValue(id, value);
    RemoveSymbol(id);
    if (converted) {
        Append(id, std::move(*converted));
    }
    return *this;
}

ISymbolContainer& CSymbolContainer::SetBool(std::int32_t id, bool value) {
    return Set(id, value);
}

ISymbolContainer& CSymbolContainer::SetInt64(std::int32_t id, std::int64_t value) {
    return Set(id, value);
}

ISymbolContainer& CSymbolContainer::SetString(std::int32_t id, const std::string& value) {
    // Deliberate: not shortened, unlike every other way for a text into a row.
    return Set(id, value);
}

ISymbolContainer& CSymbolContainer::SetUuidString(std::int32_t id, const std::string& text) {
    return Set(id, ParseUuid(text));
}

ISymbolContainer& CSymbolContainer::SetResourceId(std::int32_t id, std::uint64_t value) {
    return Set(id, ResourceIdValue{static_cast<std::int64_t>(value)});
}

ISymbolContainer& CSymbolContainer::SetBlob(std::int32_t id, const std::string& value) {
    return Set(id, BlobValue(value));
}

ISymbolContainer& CSymbolContainer::SetUtcTime(std::int32_t id, const UTCTime& value) {
    return Set(id, ToTime(id, value));
}

void CSymbolContainer::RemoveSymbol(std::int32_t id) {
    const std::size_t index = Find(id);
    // Deliberate: a locked row lets symbols be removed.
    if (index != ids_.size()) {
        ids_.erase(ids_.begin() + static_cast<std::ptrdiff_t>(index));
        values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(index));
    }
}

void CSymbolContainer::Reserve(std::size_t more) {
    ids_.reserve(ids_.size() + more);
    values_.reserve(values_.size() + more);
}

void CSymbolContainer::Lock() {
    locked_ = true;
    ids_.shrink_to_fit();
    values_.shrink_to_fit();
}

void CSymbolContainer::Unlock() {
    locked_ = false;
}

// Protobuf form

void CSymbolContainer::FillProtobuf(LogSymbolContainer& target) const {
    target.mutable_symbols()->Reserve(static_cast<int>(ids_.size()));
    for (std::size_t index = 0; index < ids_.size(); ++index) {
        auto* symbol = target.add_symbols();
        symbol->set_symbol_type(ids_[index]);
        AppendTo(*symbol->mutable_symbol_data(), values_[index]);
    }
}

boost::shared_ptr<google::protobuf::Message> CSymbolContainer::GetProtobuf() const {
    auto message = boost::make_shared<LogSymbolContainer>();
    FillProtobuf(*message);
    return message;
}

std::size_t CSymbolContainer::GetProtobufSize() const {
    // In an arena, which is freed in one piece: a row is some dozens of small messages.
    google::protobuf::Arena arena;
    auto* message = google::protobuf::Arena::CreateMessage<LogSymbolContainer>(&arena);
    FillProtobuf(*message);
    return message->ByteSizeLong();
}

bool CSymbolContainer::SerializeToString(std::string& out) const {
    google::protobuf::Arena arena;
    auto* message = google::protobuf::Arena::CreateMessage<LogSymbolContainer>(&arena);
    FillProtobuf(*message);
    message->SerializeToString(&out);
    return !out.empty();
}

bool CSymbolContainer::DeserializeFromString(const std::string& in) {
    if (locked_) {
        throw std::runtime_error("Failed to deserialize symbols: container is locked");
    }
    google::protobuf::Arena arena;
    auto* message = google::protobuf::Arena::CreateMessage<LogSymbolContainer>(&arena);
    // What the parser understood before it failed is taken, too.
    const bool parsed = message->ParsePartialFromString(in) && message->IsInitialized();
    Reserve(static_cast<std::size_t>(message->symbols_size()));
    for (const auto& symbol : message->symbols()) {
        AddValue(symbol.symbol_type(), symbol.symbol_data());
    }
    return parsed;
}

// Comparison and copy

bool CSymbolContainer::Equals(const ISymbolContainer& other) const {
    const auto* same = dynamic_cast<const CSymbolContainer*>(&other);
    if (same == nullptr || same->ids_.size() != ids_.size()) {
        return false;
    }
    // Every id occurs once, so that equal counts and a partner for each symbol are enough.
    for (std::size_t index = 0; index < ids_.size(); ++index) {
        // Rows of one origin have the same order.
        const std::size_t partner =
            same->ids_[index] == ids_[index] ? index : same->Find(ids_[index]);
        if (partner == ids_.size() || !(same->values_[partner] == values_[index])) {
            return false;
        }
    }
    return true;
}

bool CSymbolContainer::NotEquals(const ISymbolContainer& other) const {
    return !Equals(other);
}

boost::shared_ptr<ISymbolContainer> CSymbolContainer::Clone() const {
    auto copy = boost::make_shared<CSymbolContainer>(clock_);
    copy->ids_ = ids_;
    copy->values_ = values_;
    return copy;
}

}  // namespace Kyr::Common::Logs
