// One row of symbols, kept in insertion order; look-up is a linear search, since rows hold tens of
// symbols.
//
// Threads: none inside; a row belongs to one thread at a time. The lock is a guard against late
//   modification of a finished log, not a thread lock.
// Errors: std::runtime_error with the symbol's number in its text; a failed add or set leaves the
//   row unchanged. A time outside the years 1400 to 9999, which only the binary form can bring in,
//   throws std::out_of_range where its calendar date is wanted.
#pragma once

#include <vector>

#include "base/Clock.h"
#include "host/logs/ILockable.h"
#include "host/logs/IProtobufGetter.h"
#include "host/logs/ISymbolContainer.h"
#include "host/proto/logs.pb.h"
#include "logs/SymbolValue.h"

namespace Kyr::Common::Logs {

class CSymbolContainer : public ISymbolContainer, public ILockable, public IProtobufGetter {
  public:
    /// `clock` gives AddCurrentTime its time.
    explicit CSymbolContainer(boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CSymbolContainer() override;
    /// Rows are copied with Clone.
    CSymbolContainer(const CSymbolContainer&) = delete;
    CSymbolContainer& operator=(const CSymbolContainer&) = delete;

    // ISerializable
    bool SerializeToString(std::string& out) const override;
    bool DeserializeFromString(const std::string& in) override;

    // ISymbolContainer
    bool HasSymbol(std::int32_t id) const override;

    MultiDataType GetValue(std::int32_t id) const override;
    bool GetBool(std::int32_t id) const override;
    const std::string& GetBlob(std::int32_t id) const override;
    std::int64_t GetInt64(std::int32_t id) const override;
    double GetDouble(std::int32_t id) const override;
    const std::string& GetString(std::int32_t id) const override;
    std::uint64_t GetResourceId(std::int32_t id) const override;
    std::int32_t GetInt32(std::int32_t id) const override;
    UTCTime GetUtcTime(std::int32_t id) const override;
    Time GetTime(std::int32_t id) const override;
    Uuid GetUuid(std::int32_t id) const override;

    boost::optional<MultiDataType> FindValue(std::int32_t id) const override;
    boost::optional<bool> FindBool(std::int32_t id) const override;
    boost::optional<std::string> FindBlob(std::int32_t id) const override;
    boost::optional<std::int64_t> FindInt64(std::int32_t id) const override;
    boost::optional<double> FindDouble(std::int32_t id) const override;
    boost::optional<std::string> FindString(std::int32_t id) const override;
    boost::optional<std::uint64_t> FindResourceId(std::int32_t id) const override;
    boost::optional<std::int32_t> FindInt32(std::int32_t id) const override;
    boost::optional<UTCTime> FindUtcTime(std::int32_t id) const override;
    boost::optional<Time> FindTime(std::int32_t id) const override;
    boost::optional<Uuid> FindUuid(std::int32_t id) const override;

    ISymbolContainer& AddValue(std::int32_t id, const MultiDataType& value) override;
    ISymbolContainer& AddBool(std::int32_t id, bool value) override;
    ISymbolContainer& AddBlob(std::int32_t id, const std::string& value) override;
    ISymbolContainer& AddInt64(std::int32_t id, std::int64_t value) override;
    ISymbolContainer& AddDouble(std::int32_t id, double value) override;
    ISymbolContainer& AddString(std::int32_t id, const std::string& value) override;
    ISymbolContainer& AddResourceId(std::int32_t id, std::uint64_t value) override;
    ISymbolContainer& AddInt32(std::int32_t id, std::int32_t value) override;
    ISymbolContainer& AddUtcTime(std::int32_t id, const UTCTime& value) override;
    ISymbolContainer& AddCurrentTime(std::int32_t id) override;
    ISymbolContainer& AddUuid(std::int32_t id, const boost::uuids::uuid& value) override;
    ISymbolContainer& AddUuidString(std::int32_t id, const std::string& text) override;
    ISymbolContainer& AddUuidMessage(std::int32_t id, const Uuid& value) override;

    ISymbolContainer& SetValue(std::int32_t id, const MultiDataType& value) override;
    ISymbolContainer& SetBool(std::int32_t id, bool value) override;
    ISymbolContainer& SetInt64(std::int32_t id, std::int64_t value) override;
    ISymbolContainer& SetString(std::int32_t id, const std::string& value) override;
    ISymbolContainer& SetUuidString(std::int32_t id, const std::string& text) override;
    ISymbolContainer& SetResourceId(std::int32_t id, std::uint64_t value) override;
    ISymbolContainer& SetBlob(std::int32_t id, const std::string& value) override;
    ISymbolContainer& SetUtcTime(std::int32_t id, const UTCTime& value) override;

    void RemoveSymbol(std::int32_t id) override;

    std::size_t GetProtobufSize() const override;
    std::size_t GetCount() const override;
    /// Throws std::out_of_range "invalid vector subscript".
    MultiDataType GetValueAt(std::size_t index) const override;
    /// Throws std::out_of_range "invalid vector subscript".
    std::int32_t GetSymbolAt(std::size_t index) const override;
    /// False, too, when `other` is not a CSymbolContainer.
    bool Equals(const ISymbolContainer& other) const override;
    boost::shared_ptr<ISymbolContainer> Clone() const override;
    std::uint64_t GetBinarySize() const override;
    void SerializeToBinary(std::string& out) const override;
    void DeserializeFromBinary(const char* data, std::size_t length) override;
    void DeserializeFromBinary(const std::string& data) override;
    bool NotEquals(const ISymbolContainer& other) const override;

    // ILockable
    /// Also gives back unused storage: locked rows wait in queues.
    void Lock() override;
    void Unlock() override;

    // IProtobufGetter
    /// A LogSymbolContainer.
    boost::shared_ptr<google::protobuf::Message> GetProtobuf() const override;

  private:
    std::size_t Find(std::int32_t id) const;
    template <typename Kind>
    const Kind& Get(std::int32_t id) const;
    void CheckUnlocked(std::int32_t id) const;
    void CheckIndex(std::size_t index) const;
    ISymbolContainer& Add(std::int32_t id, SymbolValue value);
    ISymbolContainer& Set(std::int32_t id, SymbolValue value);
    void Append(std::int32_t id, SymbolValue value);
    void Reserve(std::size_t more);
    void FillProtobuf(DataDefinition::Logs::LogSymbolContainer& target) const;

    bool locked_ = false;
    // Parallel: the same index is the same symbol.
    std::vector<std::int32_t> ids_;
    std::vector<SymbolValue> values_;
    boost::shared_ptr<Base::IClock> clock_;
};

}  // namespace Kyr::Common::Logs
