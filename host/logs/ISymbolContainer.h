// One row of symbols: numbered, typed values.
//
// Threads: none inside; a row belongs to one thread at a time.
// Errors: std::runtime_error with the symbol's number in its text; a failed add or set leaves the
//   row unchanged.
// The order of the virtual operations is the host's contract.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/uuid/uuid.hpp>

#include "host/logs/ISerializable.h"
#include "host/proto/common.pb.h"

namespace Kyr::Common::Logs {

class ISymbolContainer : public ISerializable {
  public:
    using MultiDataType = DataDefinition::Common::MultiDataType;
    using UTCTime = DataDefinition::Common::UTCTime;
    using Uuid = DataDefinition::Common::Uuid;
    using Time = boost::posix_time::ptime;  // UTC, microseconds

    ~ISymbolContainer() override;

    virtual bool HasSymbol(std::int32_t id) const = 0;

    // Getters throw when the row lacks the symbol or holds it with another kind. References stay
    // valid until the row changes.
    virtual MultiDataType GetValue(std::int32_t id) const = 0;
    virtual bool GetBool(std::int32_t id) const = 0;
    virtual const std::string& GetBlob(std::int32_t id) const = 0;
    virtual std::int64_t GetInt64(std::int32_t id) const = 0;
    virtual double GetDouble(std::int32_t id) const = 0;
    virtual const std::string& GetString(std::int32_t id) const = 0;
    virtual std::uint64_t GetResourceId(std::int32_t id) const = 0;
    /// The low 32 bits of an integer.
    virtual std::int32_t GetInt32(std::int32_t id) const = 0;
    virtual UTCTime GetUtcTime(std::int32_t id) const = 0;
    virtual Time GetTime(std::int32_t id) const = 0;
    virtual Uuid GetUuid(std::int32_t id) const = 0;

    // Empty when the row lacks the symbol; a symbol of another kind still throws.
    virtual boost::optional<MultiDataType> FindValue(std::int32_t id) const = 0;
    virtual boost::optional<bool> FindBool(std::int32_t id) const = 0;
    virtual boost::optional<std::string> FindBlob(std::int32_t id) const = 0;
    virtual boost::optional<std::int64_t> FindInt64(std::int32_t id) const = 0;
    virtual boost::optional<double> FindDouble(std::int32_t id) const = 0;
    virtual boost::optional<std::string> FindString(std::int32_t id) const = 0;
    virtual boost::optional<std::uint64_t> FindResourceId(std::int32_t id) const = 0;
    virtual boost::optional<std::int32_t> FindInt32(std::int32_t id) const = 0;
    virtual boost::optional<UTCTime> FindUtcTime(std::int32_t id) const = 0;
    virtual boost::optional<Time> FindTime(std::int32_t id) const = 0;
    virtual boost::optional<Uuid> FindUuid(std::int32_t id) const = 0;

    // Adding throws when the row is locked or has the symbol already. All return the row itself.
    virtual ISymbolContainer& AddValue(std::int32_t id, const MultiDataType& value) = 0;
    virtual ISymbolContainer& AddBool(std::int32_t id, bool value) = 0;
    virtual ISymbolContainer& AddBlob(std::int32_t id, const std::string& value) = 0;
    virtual ISymbolContainer& AddInt64(std::int32_t id, std::int64_t value) = 0;
    virtual ISymbolContainer& AddDouble(std::int32_t id, double value) = 0;
    /// A text longer than the symbol's descriptor allows is shortened and ends in "...".
    virtual ISymbolContainer& AddString(std::int32_t id, const std::string& value) = 0;
    virtual ISymbolContainer& AddResourceId(std::int32_t id, std::uint64_t value) = 0;
    virtual ISymbolContainer& AddInt32(std::int32_t id, std::int32_t value) = 0;
    virtual ISymbolContainer& AddUtcTime(std::int32_t id, const UTCTime& value) = 0;
    virtual ISymbolContainer& AddCurrentTime(std::int32_t id) = 0;
    virtual ISymbolContainer& AddUuid(std::int32_t id, const boost::uuids::uuid& value) = 0;
    virtual ISymbolContainer& AddUuidString(std::int32_t id, const std::string& text) = 0;
    virtual ISymbolContainer& AddUuidMessage(std::int32_t id, const Uuid& value) = 0;

    // Setting throws when the row is locked or holds the symbol with another kind; a symbol that is
    // there keeps its place. SetValue differs: it takes the symbol out and adds it anew, at the end
    // and of any kind. All return the row itself.
    virtual ISymbolContainer& SetValue(std::int32_t id, const MultiDataType& value) = 0;
    virtual ISymbolContainer& SetBool(std::int32_t id, bool value) = 0;
    virtual ISymbolContainer& SetInt64(std::int32_t id, std::int64_t value) = 0;
    /// Stores the text as it is, whatever its length.
    virtual ISymbolContainer& SetString(std::int32_t id, const std::string& value) = 0;
    virtual ISymbolContainer& SetUuidString(std::int32_t id, const std::string& text) = 0;
    virtual ISymbolContainer& SetResourceId(std::int32_t id, std::uint64_t value) = 0;
    virtual ISymbolContainer& SetBlob(std::int32_t id, const std::string& value) = 0;
    virtual ISymbolContainer& SetUtcTime(std::int32_t id, const UTCTime& value) = 0;

    /// Does nothing when the row lacks the symbol. Works on a locked row, too.
    virtual void RemoveSymbol(std::int32_t id) = 0;

    /// The byte size of the protobuf form.
    virtual std::size_t GetProtobufSize() const = 0;
    virtual std::size_t GetCount() const = 0;
    virtual MultiDataType GetValueAt(std::size_t index) const = 0;
    virtual std::int32_t GetSymbolAt(std::size_t index) const = 0;
    /// The same symbols with the same values, in any order.
    virtual bool Equals(const ISymbolContainer& other) const = 0;
    /// A deep copy, unlocked.
    virtual boost::shared_ptr<ISymbolContainer> Clone() const = 0;
    virtual std::uint64_t GetBinarySize() const = 0;
    /// Replaces `out` by the binary form.
    virtual void SerializeToBinary(std::string& out) const = 0;
    /// Adds the symbols of a binary form. Throws std::ios_base::failure at the end of the input.
    virtual void DeserializeFromBinary(const char* data, std::size_t length) = 0;
    virtual void DeserializeFromBinary(const std::string& data) = 0;
    virtual bool NotEquals(const ISymbolContainer& other) const = 0;
};

}  // namespace Kyr::Common::Logs
